#include <cstdint>

#include "tests/abi/exports.h"
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
    CCrc crc;
    EXPECT_FALSE(crc.m_bActive);

    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(CCrc::eCRC32, crc.m_eType);
    EXPECT_EQ(0xFFFFFFFF, crc.m_uRegister);
    EXPECT_TRUE(crc.m_bActive);

    ASSERT_EQ(QV_RES_OK, crc.Update(BytesOf("123456789"), 9));
    EXPECT_EQ(~0xCBF43926u, crc.m_uRegister);

    uint32_t uCrc = 0;
    ASSERT_EQ(QV_RES_OK, crc.End(&uCrc));
    EXPECT_FALSE(crc.m_bActive);
}

TEST(CCrcLayout, SizeIsTwentyFour)
{
    static_assert(sizeof(CCrc) == 24);
    EXPECT_EQ(24u, SizeToldByDelete(new CCrc));
}

TEST(CCrcSlots, AreTheDestructorsAlone)
{
    const CCrc crc;
    EXPECT_TRUE(HasDestructorsAlone(&crc, "4CCrc"));
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

    CTextBlob blob("123456789");
    uint32_t uCrc32 = 0;
    ASSERT_EQ(QV_RES_OK, crc.Begin(CCrc::eCRC32));
    ASSERT_EQ(QV_RES_OK, crc.Update(&blob));
    ASSERT_EQ(QV_RES_OK, crc.End(&uCrc32));
    EXPECT_EQ(0xCBF43926u, uCrc32);
}

TEST(CCrc, OutOfLineFunctionsRefuseAsTheInlineOnesDo)
{
    CCrc crc;
    uint16_t uCrc16 = 0x1234;
    uint32_t uCrc32 = 0x12345678;
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.End(&uCrc16));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.End(&uCrc32));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.Update(BytesOf("1"), 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.Update(static_cast<CBlob*>(nullptr)));

    ASSERT_EQ(QV_RES_OK, crc.Begin(static_cast<CCrc::ECrcType>(2)));
    EXPECT_EQ(QV_RES_INVALID_STATE, crc.Begin(CCrc::eCRC32));
    EXPECT_EQ(2u, static_cast<unsigned int>(crc.m_eType));
    EXPECT_EQ(QV_RES_FAIL, crc.Update(BytesOf("1"), 1));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.End(&uCrc16));
    EXPECT_EQ(QV_RES_INVALID_ARGUMENT, crc.End(&uCrc32));
    EXPECT_EQ(0x1234, uCrc16);
    EXPECT_EQ(0x12345678u, uCrc32);
}
