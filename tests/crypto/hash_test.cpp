#include "framework/crypto/hash.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "framework/crypto/md5.h"
#include "framework/crypto/sha1.h"
#include "framework/crypto/sha256.h"
#include "tests/support/derived.h"
#include "tests/support/object_bytes.h"
#include "tests/support/vtable.h"

static_assert(std::is_abstract_v<CHash> && std::has_virtual_destructor_v<CHash>);
static_assert(sizeof(CHash) == sizeof(void*), "the interface has no data");
static_assert(std::is_base_of_v<CHash, CMd5> && std::is_base_of_v<CMd5BremoFw, CMd5>);
static_assert(std::is_base_of_v<CHash, CSha1> && std::is_base_of_v<CSha1BremoFw, CSha1>);
static_assert(std::is_base_of_v<CHash, CSha256> && std::is_base_of_v<CSha256BremoFw, CSha256>);
static_assert(!std::is_base_of_v<CHash, CMd5BremoFw> && std::has_virtual_destructor_v<CMd5BremoFw>);
static_assert(!std::is_base_of_v<CHash, CSha1BremoFw> && std::has_virtual_destructor_v<CSha1BremoFw>);
static_assert(!std::is_base_of_v<CHash, CSha256BremoFw> && std::has_virtual_destructor_v<CSha256BremoFw>);

TEST(CHashInterface, SlotsFollowTheDestructorInTheirOrder)
{
    // The destructor takes the slots 0 and 1.
    EXPECT_EQ(2, SlotOf(&CHash::Begin));
    EXPECT_EQ(3, SlotOf(static_cast<QvResult (CHash::*)(const uint8_t*, unsigned int)>(&CHash::Update)));
    EXPECT_EQ(4, SlotOf(static_cast<QvResult (CHash::*)(uint8_t*)>(&CHash::End)));
    EXPECT_EQ(5, SlotOf(static_cast<QvResult (CHash::*)(const CBlob*)>(&CHash::Update)));
    EXPECT_EQ(6, SlotOf(static_cast<QvResult (CHash::*)(CBlob*)>(&CHash::End)));
    EXPECT_EQ(7, SlotOf(&CHash::GetAlgorithm));
    EXPECT_EQ(8, SlotOf(&CHash::GetSizeInBits));
    EXPECT_EQ(9, SlotOf(&CHash::GetSizeInBytes));
}

TEST(CHashInterface, AlgorithmsAreNumbered)
{
    EXPECT_EQ(0u, static_cast<unsigned int>(CHash::eMD5));
    EXPECT_EQ(1u, static_cast<unsigned int>(CHash::eSHA1));
    EXPECT_EQ(2u, static_cast<unsigned int>(CHash::eSHA256));
}

template <typename Digest, typename Implementation>
void ExpectInterfaceBeforeImplementation()
{
    Digest digest;
    EXPECT_EQ(static_cast<void*>(&digest), static_cast<void*>(static_cast<CHash*>(&digest)));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&digest) + sizeof(CHash),
              reinterpret_cast<unsigned char*>(static_cast<Implementation*>(&digest)));
    EXPECT_EQ(sizeof(CHash) + sizeof(Implementation), sizeof(Digest));
}

TEST(CHashInterface, IsTheFirstBaseAndTheImplementationTheSecond)
{
    ExpectInterfaceBeforeImplementation<CMd5, CMd5BremoFw>();
    ExpectInterfaceBeforeImplementation<CSha1, CSha1BremoFw>();
    ExpectInterfaceBeforeImplementation<CSha256, CSha256BremoFw>();
}

TEST(CHashInterface, DeletesTheWholeObjectThroughEitherBase)
{
    CDerived<CSha1>::ms_uDestroyed = 0;
    CHash* const pHash = new CDerived<CSha1>;
    delete pHash;
    EXPECT_EQ(1u, CDerived<CSha1>::ms_uDestroyed);

    CSha1BremoFw* const pImplementation = new CDerived<CSha1>;
    delete pImplementation;
    EXPECT_EQ(2u, CDerived<CSha1>::ms_uDestroyed);
}

TEST(CHashInterface, ImplementationsHaveAVirtualDestructorAndNothingElseVirtual)
{
    using Slots = std::vector<std::string>;
    const CMd5BremoFw md5;
    const CSha1BremoFw sha1;
    const CSha256BremoFw sha256;
    EXPECT_EQ((Slots{"_ZN11CMd5BremoFwD1Ev", "_ZN11CMd5BremoFwD0Ev"}), VtableSlots(&md5));
    EXPECT_EQ((Slots{"_ZN12CSha1BremoFwD1Ev", "_ZN12CSha1BremoFwD0Ev"}), VtableSlots(&sha1));
    EXPECT_EQ((Slots{"_ZN14CSha256BremoFwD1Ev", "_ZN14CSha256BremoFwD0Ev"}), VtableSlots(&sha256));
}
