// Components when memory runs out.
#include <gtest/gtest.h>

#include "framework/ecom/component.h"
#include "tests/support/refusing_new.h"

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
    {
        const CNoMemory none;
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, RegisterECom(&CLSID_Thing2, CreateEComObject<CThing>));
    }
    EXPECT_EQ(QV_RES_INVALID_STATE, UnregisterECom(&CLSID_Thing2));
    EXPECT_EQ(QV_RES_OK, RegisterECom(&CLSID_Thing2, CreateEComObject<CThing>));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Thing2));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Thing1));
}

TEST(CEComOutOfMemory, CreationSaysSo)
{
    ASSERT_EQ(QV_RES_OK, RegisterECom(&CLSID_Thing1, CreateEComObject<CThing>));
    CEComPtr<IThing> pThing;
    {
        const CNoMemory none;
        EXPECT_EQ(QV_RES_OUT_OF_MEMORY, pThing.CreateInstance(&CLSID_Thing1));
    }
    EXPECT_FALSE(pThing);
    EXPECT_EQ(QV_RES_OK, pThing.CreateInstance(&CLSID_Thing1));
    EXPECT_EQ(QV_RES_OK, UnregisterECom(&CLSID_Thing1));
}
}  // namespace
