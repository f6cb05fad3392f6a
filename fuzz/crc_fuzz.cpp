// CCrc in random cuts and with every call at any moment, beside zlib's crc32() and the bitwise definition of CRC-16.
// Libraries: z
// Options: -max_len=600
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "framework/basic/blob.h"
#include "framework/crypto/crc.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/message.h"
#include "fuzz/processor.h"
#include "tests/support/crc_model.h"

namespace
{
struct SModel
{
    bool bActive = false;
    unsigned int uType = 0;
    std::vector<unsigned char> message;

    QvResult Begin(unsigned int uNewType)
    {
        if (bActive) return QV_RES_INVALID_STATE;
        bActive = true;
        uType = uNewType;
        message.clear();
        return QV_RES_OK;
    }
    QvResult Update(const std::vector<unsigned char>& rPiece)
    {
        // Nothing is added first, before anything is looked at.
        if (rPiece.empty()) return QV_RES_OK;
        if (!bActive) return QV_RES_INVALID_STATE;
        if (uType > CCrc::eCRC32) return QV_RES_FAIL;
        message.insert(message.end(), rPiece.begin(), rPiece.end());
        return QV_RES_OK;
    }
    QvResult End(unsigned int uWidth)
    {
        if (!bActive) return QV_RES_INVALID_STATE;
        if (uType != uWidth) return QV_RES_INVALID_ARGUMENT;
        bActive = false;
        return QV_RES_OK;
    }
};

class CPair
{
public:
    void Step(CFuzzInput& rInput)
    {
        switch (rInput.Below(8))
        {
            case 0:
            {
                const unsigned int uByte = rInput.Byte();
                const unsigned int uType = uByte >= 250 ? uByte : uByte % 2;
                RequireEqual(m_model.Begin(uType), m_crc.Begin(static_cast<CCrc::ECrcType>(uType)), "Begin");
                break;
            }
            case 1:
            case 2: UpdateRaw(FuzzPiece(rInput), rInput.Below(8)); break;
            case 3: UpdateFromBlob(FuzzPiece(rInput)); break;
            case 6: CFuzzProcessor::Choose(rInput); break;
            case 4: EndAs<std::uint16_t>(CCrc::eCRC16); break;
            case 5: EndAs<std::uint32_t>(CCrc::eCRC32); break;
            default:
                RequireEqual(QV_RES_INVALID_ARGUMENT, m_crc.Update(nullptr, rInput.Byte()), "Update(null)");
                RequireEqual(QV_RES_INVALID_ARGUMENT, m_crc.Update(nullptr), "Update(null blob)");
                break;
        }
    }

private:
    /// At any alignment, and with nothing readable behind.
    void UpdateRaw(const std::vector<unsigned char>& rPiece, unsigned int uShift)
    {
        std::vector<unsigned char> shifted(uShift + rPiece.size() + (rPiece.empty() ? 1 : 0));
        if (!rPiece.empty()) std::memcpy(shifted.data() + uShift, rPiece.data(), rPiece.size());
        RequireEqual(m_model.Update(rPiece),
                     m_crc.Update(shifted.data() + uShift, static_cast<unsigned int>(rPiece.size())), "Update");
    }

    void UpdateFromBlob(const std::vector<unsigned char>& rPiece)
    {
        CBlob blob(rPiece.data(), static_cast<unsigned int>(rPiece.size()));
        const QvResult resWant = rPiece.empty() ? QV_RES_INVALID_ARGUMENT : m_model.Update(rPiece);
        RequireEqual(resWant, m_crc.Update(&blob), "Update(blob)");
    }

    template <class T>
    void EndAs(CCrc::ECrcType eType)
    {
        T uGot = 0x5A5A;
        const QvResult resWant = m_model.End(eType);
        RequireEqual(resWant, m_crc.End(&uGot), "End");
        const std::vector<unsigned char>& rMessage = m_model.message;
        const std::uint32_t uValue =
            eType == CCrc::eCRC16
                ? CCrcModel(eType).Of(rMessage.data(), rMessage.size())
                : static_cast<std::uint32_t>(crc32(0, rMessage.data(), static_cast<unsigned int>(rMessage.size())));
        RequireEqual(resWant < 0 ? T{0x5A5A} : static_cast<T>(uValue), uGot, "the value");
    }

    CCrc m_crc;
    SModel m_model;
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    const CFuzzProcessor processor(input);
    CPair pair;
    for (unsigned int uStep = 0; !input.IsSpent() && uStep < 40; ++uStep)
    {
        const CFuzzStep step("step", uStep);
        pair.Step(input);
    }
    return 0;
}
