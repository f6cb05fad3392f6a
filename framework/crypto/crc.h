#ifndef FRAMEWORK_CRYPTO_CRC_H
#define FRAMEWORK_CRYPTO_CRC_H
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// A cyclic redundancy check against accidents on a line or a disk (not against people: see CSha1Mac):
/// ```
/// CCrc crc;
/// res = crc.Begin(CCrc::eCRC32);
/// res = crc.Update(puData, uSize);   // any number of times, in pieces of any size.
/// uint32_t uCrc;
/// res = crc.End(&uCrc);
/// ```
///
/// - **Inactive:** Begin() makes it active. Update() and End() are refused.
/// - **Active:** Update() adds bytes. End() of the width of the type makes it inactive. Begin(), and End() of the other
///   width, are refused.
/// - **Refused:** What is refused changes nothing. Begin() does not check the type: after one that is no ECrcType,
///   Update() and both End() are refused, and the object stays active for good.
/// - **Threads:** No locking: one thread at a time per object.
/// - **Cost:** With carry-less multiplication (found out at run time) 8 to 30 bytes a cycle, else one to two.
class QV_EXPORT CCrc
{
public:
    /// Both take bits least significant first, start at all ones and end complemented.
    enum ECrcType : unsigned int
    {
        /// CRC-16/X-25, also called CRC-16/IBM-SDLC: polynomial 0x1021.
        eCRC16 = 0,
        /// The CRC-32 of IEEE 802.3, gzip and zlib: polynomial 0x04C11DB7.
        eCRC32 = 1
    };

    /// Inactive.
    CCrc();
    CCrc(const CCrc&) = default;
    CCrc& operator=(const CCrc&) = default;
    virtual ~CCrc();

    /// Starts a computation.
    ///
    /// - `QV_RES_OK`: it is active; eType is not checked.
    /// - `QV_RES_INVALID_STATE`: one is active already, which is not disturbed.
    [[nodiscard]] QvResult Begin(ECrcType eType)
    {
        if (m_bActive) return QV_RES_INVALID_STATE;
        m_uRegister = 0xFFFFFFFF;
        m_eType = eType;
        m_bActive = true;
        return QV_RES_OK;
    }
    /// Adds uSize bytes.
    ///
    /// - `QV_RES_OK`: they are in; always so for a size of 0 with a pointer that is not null.
    /// - `QV_RES_INVALID_ARGUMENT`: puData is null.
    /// - `QV_RES_INVALID_STATE`: no computation is active.
    /// - `QV_RES_FAIL`: the type it began with is no ECrcType.
    [[nodiscard]] QvResult Update(const uint8_t* puData, unsigned int uSize)
    {
        if (puData == nullptr) return QV_RES_INVALID_ARGUMENT;
        if (uSize == 0) return QV_RES_OK;
        if (!m_bActive) return QV_RES_INVALID_STATE;
        if (m_eType > eCRC32) return QV_RES_FAIL;
        m_uRegister = m_eType == eCRC32 ? MoveOn32(m_uRegister, puData, uSize) : MoveOn16(m_uRegister, puData, uSize);
        return QV_RES_OK;
    }
    /// Adds the bytes of a blob.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: pblobData is null, or the blob has no storage.
    [[nodiscard]] QvResult Update(CBlob* pblobData);
    /// Ends an eCRC16 computation and writes its value to *puCrc, which must exist.
    ///
    /// - `QV_RES_OK`: the value is written.
    /// - `QV_RES_INVALID_STATE`: no computation is active.
    /// - `QV_RES_INVALID_ARGUMENT`: it is of the other width and stays active.
    [[nodiscard]] QvResult End(uint16_t* puCrc)
    {
        const QvResult res = Leave(eCRC16);
        if (res >= 0) *puCrc = static_cast<uint16_t>(~m_uRegister);
        return res;
    }
    /// Ends an eCRC32 computation in the same way.
    [[nodiscard]] QvResult End(uint32_t* puCrc)
    {
        const QvResult res = Leave(eCRC32);
        if (res >= 0) *puCrc = ~m_uRegister;
        return res;
    }

private:
    // A register behind uSize bytes more, 1 at least.
    static uint32_t MoveOn16(uint32_t uRegister, const uint8_t* puData, unsigned int uSize);
    static uint32_t MoveOn32(uint32_t uRegister, const uint8_t* puData, unsigned int uSize);

    QvResult Leave(ECrcType eType)
    {
        if (!m_bActive) return QV_RES_INVALID_STATE;
        if (m_eType != eType) return QV_RES_INVALID_ARGUMENT;
        m_bActive = false;
        return QV_RES_OK;
    }

    ECrcType m_eType;
    uint32_t m_uRegister;
    bool m_bActive;
};

#endif
