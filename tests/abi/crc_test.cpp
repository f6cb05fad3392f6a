#include <cstdint>

#include "tests/abi/framework_up.h"
#include "tests/abi/text_blob.h"
#include "tests/abi/told_size.h"

class CCrc
{
public:
    enum ECrcType : unsigned int
    {
        eCRC16 = 0,
        eCRC32 = 1
    };

    CCrc();
    virtual ~CCrc();
    QvResult Begin(ECrcType eType);
    QvResult Update(const uint8_t* puData, unsigned int uSize);
    QvResult Update(CBlob* pblobData);
    QvResult End(uint16_t* puCrc);
    QvResult End(uint32_t* puCrc);

    ECrcType m_eType;
    uint32_t m_uRegister;
    bool m_bActive;
};

TEST(CCrcLayout, HasTypeThenRegisterThenActiveFlag)
{
    static_assert(sizeof(CCrc) == 24);
    ExpectDestructorsAlone<CCrc>("4CCrc");
    CCrc crc;
    EXPECT_FALSE(crc.m_bActive);
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(CCrc::eCRC32, crc.m_eType);
    EXPECT_EQ(0xFFFFFFFF, crc.m_uRegister);
    EXPECT_TRUE(crc.m_bActive);
}

TEST(CCrc, GivesThePublishedCheckValues)
{
    CCrc crc;
    uint16_t uCrc16 = 0;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC16));
    ASSERT_EQ(QV_RES_OK, crc.Update(BytesOf("123456789"), 9));
    EXPECT_EQ(0xFFFFu & ~0x906Eu, crc.m_uRegister & 0xFFFF);
    ASSERT_EQ(QV_RES_OK, crc.End(&uCrc16));
    EXPECT_EQ(0x906E, uCrc16);
    EXPECT_FALSE(crc.m_bActive);

    CTextBlob blob("123456789");
    uint32_t uCrc32 = 0;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    ASSERT_EQ(QV_RES_OK, crc.Update(&blob));
    EXPECT_EQ(~0xCBF43926u, crc.m_uRegister);
    ASSERT_EQ(QV_RES_OK, crc.End(&uCrc32));
    EXPECT_EQ(0xCBF43926u, uCrc32);
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.End(&uCrc32));
}
