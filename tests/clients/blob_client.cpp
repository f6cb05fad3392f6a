#include "framework/basic/blob.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/string.h"
#include "framework/basic/vector.h"
#include "framework/kernel/result.h"
#include "tests/clients/client.h"

namespace
{
const unsigned char g_auBytes[] = {1, 2, 3, 4, 5, 6, 7, 8};

/// Overrides what the blob inherits, though its bytes never go that way.
class CMyBlob : public CBlob
{
public:
    CMyBlob() : CBlob(nullptr) {}
    ~CMyBlob() override = default;
    void Construct(void*) override { CHECK(false); }
    void ConstructFrom(void*, const void*) override { CHECK(false); }
    void Destruct(void*) override { CHECK(false); }
};

void Construction()
{
    IAllocator* const pSource = CSingleton<CDefaultAllocator>::Instance();
    unsigned int uSize = 3;  // not a constant: braces refuse to narrow it
    const CBlob sized{uSize, nullptr};
    const CBlob filledToo{g_auBytes, uSize, uSize, nullptr};
    CHECK(sized.GetCapacity() == 3 && filledToo.GetSize() == 3 && filledToo.GetEndIndex() == 3);
    const CBlob empty(pSource);
    const CBlob fromNull(nullptr);
    const CBlob reserved(16, nullptr);
    const CBlob reservedToo(16u, NULL);
    const CBlob filled(g_auBytes, 3, 8, nullptr);
    const CBlob none(nullptr, 0, 0, 0);
    CBlob copy(filled);
    CBlob other(NULL);
    CHECK((other = filled).GetSize() == 3 && copy.GetSize() == 3);
    CHECK(CBlob(filled).GetCapacity() == 8 && CBlob(reserved).GetCapacity() == 16 && CBlob(reservedToo).GetSize() == 0);
    CHECK(CBlob(empty).GetCapacity() == 0 && CBlob(fromNull).GetSize() == 0 && CBlob(none).GetSize() == 0);
    CHECK(copy.ReadNoCopy(1) != nullptr);
    const CBlob& rCopy = copy;
    other.CopyMembers(rCopy);
    CHECK(other.GetUnreadSize() == 2);
}

void Bytes()
{
    Promised<QvResult (CBlob::*)(unsigned int, const unsigned char*, unsigned int)>(&CBlob::Insert);
    Promised<QvResult (CBlob::*)(unsigned int, const CBlob&, unsigned int, unsigned int)>(&CBlob::Insert);
    Promised<QvResult (CBlob::*)(const unsigned char*, unsigned int)>(&CBlob::Append);
    Promised<QvResult (CBlob::*)(unsigned int)>(&CBlob::Resize);
    Promised<QvResult (CBlob::*)(unsigned char*)>(&CBlob::Resize);
    Promised<QvResult (CBlob::*)(unsigned int)>(&CBlob::ReserveCapacity);
    Promised<unsigned char* (CBlob::*)()>(&CBlob::GetFirstIndexPtr);
    Promised<const unsigned char* (CBlob::*)() const>(&CBlob::GetFirstIndexPtr);

    CBlob blob(nullptr);
    CHECK(blob.ReserveCapacity(16) == QV_RES_OK && blob.GetCapacity() == 16);
    CHECK(blob.Append(g_auBytes, 4) == QV_RES_OK && blob.Insert(0, g_auBytes, 2) == QV_RES_OK);
    CHECK(blob.Insert(9, g_auBytes, 2) == QV_RES_INVALID_ARGUMENT);
    const CBlob source(g_auBytes, 8, 0, nullptr);
    CHECK(blob.Insert(0, source, 6, 0xFFFFFFFF) == QV_RES_OK && blob.GetSize() == 8);
    CHECK(blob.Insert(0, source, 7, 2) == QV_RES_INVALID_ARGUMENT);
    CHECK(blob.GetFirstIndex() == 0 && blob.GetLastIndex() == 7 && blob.GetEndIndex() == 8);
    *blob.GetAt(1) = 8;
    CHECK(*blob.GetAt(0) == 7 && blob.GetAt(8) == nullptr && *source.GetFirstIndexPtr() == 1);
    CHECK(blob.Resize(6) == QV_RES_OK && blob.Resize(17) == QV_RES_INVALID_ARGUMENT);
    CHECK(blob.Resize(blob.GetFirstIndexPtr() + 5) == QV_RES_OK && blob.GetSize() == 5);
    CHECK(blob.Resize(blob.GetFirstIndexPtr() + 16) == QV_RES_INVALID_ARGUMENT);
    CHECK(blob.Resize(0u) == QV_RES_OK && blob.GetSize() == 0);
}

void Reading()
{
    Promised<unsigned char* (CBlob::*)(unsigned char*, unsigned int)>(&CBlob::Read);
    Promised<QvResult (CBlob::*)(unsigned int)>(&CBlob::SetReadIndex);
    Promised<unsigned char* (CBlob::*)(unsigned int)>(&CBlob::GetAt);
    Promised<unsigned char* (CBlob::*)(unsigned int)>(&CBlob::ReadNoCopy);
    CBlob blob(g_auBytes, 8, 8, nullptr);
    unsigned char auRead[8] = {};
    CHECK(blob.Read(auRead, 2) == auRead && auRead[1] == 2);
    CHECK(blob.Read(nullptr, 2) == nullptr && blob.Read(0, 2) == nullptr && blob.Read(NULL, 2) == nullptr);
    const unsigned char* const puThird = blob.ReadNoCopy(1);
    CHECK(puThird != nullptr && *puThird == 3 && blob.GetUnreadSize() == 5 && blob.GetUnreadBits() == 40);
    CHECK(blob.SetReadIndex(0) == QV_RES_OK && blob.SetReadIndex(8) == QV_RES_INVALID_ARGUMENT);
}

void Bits()
{
    Promised<void (CBlob::*)(const unsigned char*, unsigned int, unsigned int)>(&CBlob::AppendBits);
    Promised<void (CBlob::*)(unsigned char*, unsigned int, unsigned int)>(&CBlob::ReadBits);
    for (void (CBlob::*pfnBits)(unsigned int) :
         {&CBlob::PadBits, &CBlob::SkipBits, &CBlob::RealignReadBits, &CBlob::RealignAppendBits})
    {
        CHECK(pfnBits != nullptr);
    }
    const unsigned char auA[4] = {0xA0};
    const unsigned char auB[4] = {0x08};
    CBlob blob(nullptr);
    blob.AppendBits(auA, 3, 0);
    blob.AppendBits(auB, 5, 0);
    CHECK(blob.GetSize() == 1 && *blob.GetAt(0) == 0xA1);
    blob.PadBits(3);
    blob.RealignAppendBits(8);
    CHECK(blob.GetSize() == 2 && blob.GetUnreadBits() == 16);
    unsigned char auRead[4] = {};
    blob.ReadBits(auRead, 3, 0);
    CHECK(auRead[0] == 0xA0);
    blob.SkipBits(1);
    blob.RealignReadBits(8);
    CHECK(blob.GetUnreadBits() == 8);
}

void Serialisation()
{
    Promised<CMarshaler& (*)(CMarshaler&, const CBlob&)>(&operator<<);
    Promised<CMarshaler& (*)(CMarshaler&, CBlob&)>(&operator>>);
    CMarshaler marshaler;
    const CBlob blob(g_auBytes, 8, 0, nullptr);
    CBlob back(nullptr);
    marshaler << blob;
    marshaler >> back;
    CHECK(back.GetSize() == 8 && std::memcmp(back.GetFirstIndexPtr(), g_auBytes, 8) == 0);
}

void Texts()
{
    CBlob blob;
    CString strText;
    CHECK(blob.Assign(g_auBytes, 3) == QV_RES_OK && blob.ToHex(&strText) == QV_RES_OK && strText == "010203");
    CHECK(blob.AssignHex("CAFE") == QV_RES_OK && blob.AssignHex(strText) == QV_RES_OK && blob[2] == 3);
    CHECK(blob.AssignHex("CAF") == QV_RES_INVALID_ARGUMENT && blob.ToHex(&strText, true) == QV_RES_OK);
    CHECK(blob.Assign("text") == QV_RES_OK && blob.ToText(&strText) == QV_RES_OK && strText == "text");
    CHECK(blob.Assign(strText) == QV_RES_OK && blob.size() == 4);
}

void Manners()
{
    CBlob blob;
    for (const unsigned char u : g_auBytes) *std::back_inserter(blob) = u;
    const CBlob range(std::begin(g_auBytes), std::end(g_auBytes));
    unsigned char uByte = 0;
    CHECK(blob == range && blob <= range && blob >= range && !(blob > range) && blob.Compare(range) == 0);
    CHECK(blob.At(1, &uByte) == QV_RES_OK && uByte == 2 && blob.At(8, &uByte) == QV_RES_INVALID_ARGUMENT);
    CHECK(blob.front() == 1 && blob.back() == 8 && *blob.rbegin() == 8 && *(range.crend() - 1) == 1);
    CHECK(*blob.cbegin() == 1 && blob.cend() - blob.data() == 8 && !blob.empty());
    blob.clear();
    CHECK(blob.empty() && blob < CBlob::Of({1}));
}
}  // namespace

void BlobClient()
{
    static_assert(std::has_virtual_destructor_v<CBlob> && !std::is_convertible_v<CBlob*, CVectorBase*>);
    static_assert(std::is_base_of_v<CVectorBase, CBlob>);
    Construction();
    Bytes();
    Reading();
    Bits();
    Serialisation();
    Texts();
    Manners();
    CMyBlob mine;
    CBlob* const pBase = &mine;
    CHECK(pBase->Append(g_auBytes, 2) == QV_RES_OK);
}
