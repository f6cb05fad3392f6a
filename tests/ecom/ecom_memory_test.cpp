// Components when memory runs out: single objects and arrays are refused here on request.
#include <gtest/gtest.h>

#include <new>

#include "framework/ecom/component.h"

namespace
{
bool g_bRefuseArrays = false;
bool g_bRefuseObjects = false;
}  // namespace

void* operator new[](std::size_t uSize, const std::nothrow_t&) noexcept
{
    if (g_bRefuseArrays) return nullptr;
    try
    {
        return ::operator new[](uSize);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void* operator new(std::size_t uSize, const std::nothrow_t&) noexcept
{
    if (g_bRefuseObjects) return nullptr;
    try
    {
        return ::operator new(uSize);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

namespace
{
class IThing : public IEComUnknown
{
    QV_ECOM_INTERFACE(IThing, IEComUnknown)
};

using CThing = CEComComponent<IThing>;

QV_ECOM_GUID(CLSID_Thing1, "test.Thing1");
QV_ECOM_GUID(CLSID_Thing2, "test.Thing2");

TEST(CEComOutOfMemory, RegistrationSaysSoAndKeepsWhatIsThere)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_Thing1, CreateEComObject<CThing>));
    g_bRefuseArrays = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, RegisterECom(&CLSID_Thing2, CreateEComObject<CThing>));
    g_bRefuseArrays = false;
    EXPECT_EQ(QV_RES_INVALID_STATE, UnregisterECom(&CLSID_Thing2));
    EXPECT_EQ(QV_RES_OK, RegisterECom(&CLSID_Thing2, CreateEComObject<CThing>));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Thing2));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Thing1));
}

TEST(CEComOutOfMemory, CreationSaysSo)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_Thing1, CreateEComObject<CThing>));
    CEComPtr<IThing> pThing;
    g_bRefuseObjects = true;
    EXPECT_EQ(QV_RES_OUT_OF_MEMORY, pThing.CreateInstance(&CLSID_Thing1));
    g_bRefuseObjects = false;
    EXPECT_FALSE(pThing);
    EXPECT_EQ(QV_RES_OK, pThing.CreateInstance(&CLSID_Thing1));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Thing1));
}
}  // namespace
