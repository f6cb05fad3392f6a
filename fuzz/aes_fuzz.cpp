// CAes under any sequence of calls: results, bytes and every field of the object beside a second implementation on
// libcrypto's AES_* functions, and whole messages beside its EVP interface.
// Libraries: crypto
// Options: -max_len=600
#define OPENSSL_API_COMPAT 10101
#include <openssl/aes.h>
#include <openssl/modes.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "framework/basic/blob.h"
#include "framework/crypto/aes.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/message.h"
#include "fuzz/processor.h"
#include "tests/support/aes_oracle.h"
#include "tests/support/blob_probe.h"
#include "tests/support/bytes.h"
#include "tests/support/object_bytes.h"

namespace
{
/// The fields in their order, behind the pointers to the virtual tables, and what the calls do to them.
struct SModel
{
    std::uint32_t uDefaultAction = CCipher::eACTION_DEFAULT;
    std::uint32_t uDefaultMode = CCipher::eMODE_DEFAULT;
    std::uint8_t auDefaultKey[32] = {};
    std::uint32_t uDefaultKeySize = 0;
    std::uint8_t auDefaultIv[16] = {};
    std::uint32_t uAction = CCipher::eACTION_DEFAULT;
    std::uint32_t uMode = CCipher::eMODE_DEFAULT;
    AES_KEY schedule = {};
    std::uint8_t auIv[16] = {};
    std::uint8_t auPartial[16] = {};
    std::uint32_t uPartialSize = 0;
    std::uint32_t uKeyStreamAt = 0;
    std::uint8_t auKeyStream[16] = {};

    bool IsStream() const
    {
        return uMode == CCipher::eMODE_CFB || uMode == CCipher::eMODE_CTR || uMode == CCipher::eMODE_OFB;
    }

    QvResult Begin(std::uint32_t uNewAction, std::uint32_t uNewMode, const Bytes* pKey, const Bytes* pIv)
    {
        if (uNewAction == CCipher::eACTION_DEFAULT) uNewAction = uDefaultAction;
        if (uNewMode == CCipher::eMODE_DEFAULT) uNewMode = uDefaultMode;
        const Bytes defaultKey(auDefaultKey, auDefaultKey + uDefaultKeySize);
        if (pKey == nullptr && uDefaultKeySize != 0) pKey = &defaultKey;
        const Bytes defaultIv(auDefaultIv, auDefaultIv + 16);
        if (pIv == nullptr) pIv = &defaultIv;
        if (uNewAction > 1 || uNewMode > 4 || pKey == nullptr) return QV_RES_FAIL;
        if (pIv->size() > 16) return QV_RES_INVALID_ARGUMENT;
        uAction = uNewAction;
        uMode = uNewMode;
        std::fill(std::begin(auIv), std::end(auIv), std::uint8_t{0});
        std::copy(pIv->begin(), pIv->end(), auIv);
        uPartialSize = uKeyStreamAt = 0;
        std::memset(auPartial, 0, sizeof(auPartial));
        std::memset(auKeyStream, 0, sizeof(auKeyStream));
        schedule.rounds = 0;
        if (pKey->size() != 16 && pKey->size() != 24 && pKey->size() != 32) return QV_RES_FAIL;
        const int nBits = static_cast<int>(pKey->size() * 8);
        if (uAction == CCipher::eACTION_ENCRYPT || IsStream()) AES_set_encrypt_key(pKey->data(), nBits, &schedule);
        else AES_set_decrypt_key(pKey->data(), nBits, &schedule);
        return QV_RES_OK;
    }

    void Transform(const std::uint8_t* puIn, std::size_t uSize, std::uint8_t* puOut)
    {
        int nAt = static_cast<int>(uKeyStreamAt);
        const int nDirection = uAction == CCipher::eACTION_ENCRYPT ? AES_ENCRYPT : AES_DECRYPT;
        switch (uMode)
        {
            case CCipher::eMODE_CBC: AES_cbc_encrypt(puIn, puOut, uSize, &schedule, auIv, nDirection); break;
            case CCipher::eMODE_CFB: AES_cfb128_encrypt(puIn, puOut, uSize, &schedule, auIv, &nAt, nDirection); break;
            case CCipher::eMODE_OFB: AES_ofb128_encrypt(puIn, puOut, uSize, &schedule, auIv, &nAt); break;
            case CCipher::eMODE_ECB:
                for (std::size_t u = 0; u < uSize; u += 16) AES_ecb_encrypt(puIn + u, puOut + u, &schedule, nDirection);
                break;
            default: Count(puIn, uSize, puOut); return;
        }
        uKeyStreamAt = static_cast<std::uint32_t>(nAt);
    }

    /// A byte at a time: a counter is encrypted where the block before is used up, and raised at once.
    void Count(const std::uint8_t* puIn, std::size_t uSize, std::uint8_t* puOut)
    {
        for (std::size_t u = 0; u < uSize; ++u)
        {
            if (uKeyStreamAt == 0)
            {
                AES_encrypt(auIv, auKeyStream, &schedule);
                for (std::size_t uByte = 16; uByte-- != 0 && ++auIv[uByte] == 0;) {}
            }
            puOut[u] = puIn[u] ^ auKeyStream[uKeyStreamAt];
            uKeyStreamAt = (uKeyStreamAt + 1) % 16;
        }
    }

    QvResult Update(const Bytes& rIn, Bytes& rOut)
    {
        if (rIn.empty()) return QV_RES_OK;
        if (schedule.rounds == 0) return QV_RES_INVALID_STATE;
        Bytes held(auPartial, auPartial + uPartialSize);
        held.insert(held.end(), rIn.begin(), rIn.end());
        const std::size_t uWhole = held.size() / 16 * 16;
        rOut.resize(uWhole);
        // Block by block: how many at once makes no difference.
        for (std::size_t u = 0; u < uWhole; u += 16) Transform(held.data() + u, 16, rOut.data() + u);
        // What is behind the bytes held is zero once a block was completed, and stays so.
        if (uPartialSize != 0 && uWhole != 0) std::memset(auPartial, 0, sizeof(auPartial));
        uPartialSize = static_cast<std::uint32_t>(held.size() - uWhole);
        std::copy(held.begin() + static_cast<std::ptrdiff_t>(uWhole), held.end(), auPartial);
        return QV_RES_OK;
    }

    QvResult End(Bytes& rOut)
    {
        if (uPartialSize != 0 && !IsStream()) return QV_RES_INVALID_STATE;
        rOut.resize(uPartialSize);
        if (uPartialSize != 0) Transform(auPartial, uPartialSize, rOut.data());
        return QV_RES_OK;
    }
};
static_assert(sizeof(SModel) == 368);

class CPair
{
public:
    void Step(CFuzzInput& rInput)
    {
        switch (rInput.Below(12))
        {
            case 0:
            case 1: Begin(rInput); break;
            case 2:
            case 3:
            case 4: UpdateRaw(FuzzPiece(rInput), rInput); break;
            case 5: UpdateBlob(FuzzPiece(rInput), rInput); break;
            case 6: UpdateInPlace(FuzzPiece(rInput)); break;
            case 7: End(rInput); break;
            case 8: SetDefaults(rInput); break;
            case 9:
            {
                const CAes copy(m_aes);
                m_aes = CAes();
                m_aes = copy;
                break;
            }
            case 10: CFuzzProcessor::Choose(rInput); break;
            default: WrongCalls(rInput); break;
        }
        CheckFields();
    }

private:
    static Bytes Key(CFuzzInput& rInput)
    {
        static constexpr unsigned int auSIZES[] = {16, 24, 32, 16, 24, 32, 16, 24, 32, 32, 0, 20, 33, 64};
        return rInput.Exactly(auSIZES[rInput.Below(std::size(auSIZES))]);
    }

    static Bytes Iv(CFuzzInput& rInput)
    {
        const unsigned int uByte = rInput.Byte();
        Bytes iv = rInput.Exactly(uByte < 160 ? 16 : uByte % 20);
        // A counter that soon carries, perhaps through all bytes.
        if (uByte < 40) std::fill(iv.begin() + uByte % 16, iv.end(), static_cast<unsigned char>(0xFF));
        return iv;
    }

    void Begin(CFuzzInput& rInput)
    {
        const unsigned int uByte = rInput.Byte();
        const std::uint32_t uAction = uByte >= 250 ? uByte : uByte >= 220 ? 2 : uByte % 2;
        const unsigned int uOther = rInput.Byte();
        const std::uint32_t uMode = uOther >= 250 ? uOther : uOther >= 220 ? 5 : uOther % 5;
        const Bytes key = Key(rInput);
        const Bytes iv = Iv(rInput);
        const bool bNoKey = rInput.Below(8) == 0;
        const bool bNoIv = rInput.Below(8) == 0;
        const auto eAction = static_cast<CCipher::EAction>(uAction);
        const auto eMode = static_cast<CCipher::EMode>(uMode);
        QvResult res;
        QvResult resWant;
        if (rInput.Flag())
        {
            resWant = m_model.Begin(uAction, uMode, bNoKey ? nullptr : &key, bNoIv ? nullptr : &iv);
            res = m_aes.Begin(eAction, eMode, bNoKey ? nullptr : DataOf(key), SizeOf(key), bNoIv ? nullptr : DataOf(iv),
                              SizeOf(iv));
        }
        else
        {
            // A blob without storage is a null pointer.
            resWant = m_model.Begin(uAction, uMode, bNoKey || key.empty() ? nullptr : &key,
                                    bNoIv || iv.empty() ? nullptr : &iv);
            const CBlob blobKey = BlobOf(key);
            const CBlob blobIv = BlobOf(iv);
            res = m_aes.Begin(eAction, eMode, bNoKey ? nullptr : &blobKey, bNoIv ? nullptr : &blobIv);
        }
        RequireEqual(resWant, res, "Begin");
        m_bWhole = res >= 0;
        if (!m_bWhole) return;
        m_wholeIn.clear();
        m_wholeOut.clear();
        m_wholeIv = Bytes(m_model.auIv, m_model.auIv + 16);
        m_wholeKey =
            bNoKey || key.empty() ? Bytes(m_model.auDefaultKey, m_model.auDefaultKey + m_model.uDefaultKeySize) : key;
    }

    /// Adds a piece to the message that EVP gets whole.
    void Note(QvResult res, const Bytes& rIn, const Bytes& rOut)
    {
        if (res < 0) return;
        m_wholeIn.insert(m_wholeIn.end(), rIn.begin(), rIn.end());
        m_wholeOut.insert(m_wholeOut.end(), rOut.begin(), rOut.end());
    }

    void UpdateRaw(const Bytes& rPiece, CFuzzInput& rInput)
    {
        Bytes want;
        const QvResult resWant = m_model.Update(rPiece, want);
        const unsigned int uShift = rInput.Below(16);
        Bytes in(uShift);
        in.insert(in.end(), rPiece.begin(), rPiece.end());
        in.push_back(0);
        // Not a byte more than it writes.
        Bytes out(uShift + want.size());
        std::uint8_t uNone = 0;
        unsigned int uWritten = 0x5A5A;
        const QvResult res =
            m_aes.Update(in.data() + uShift, SizeOf(rPiece), want.empty() ? &uNone : out.data() + uShift, &uWritten);
        RequireEqual(resWant, res, "Update");
        RequireEqual(SizeOf(want), uWritten, "the size written");
        RequireEqual(want, Bytes(out.begin() + uShift, out.end()), "the bytes");
        Note(res, rPiece, want);
    }

    void UpdateBlob(const Bytes& rPiece, CFuzzInput& rInput)
    {
        const CBlob blobIn = BlobOf(rPiece);
        Bytes before(rInput.Below(40), 0x77);
        CBlob blobOut = BlobOf(before);
        const bool bAppend = rInput.Flag();
        const bool bSame = rInput.Below(4) == 0;
        if (bSame)
        {
            blobOut = blobIn;
            before = rPiece;
        }
        const CBlob& rblobIn = bSame ? blobOut : blobIn;
        Bytes want;
        // The output has its room before the input is looked at.
        const bool bNull = rblobIn.GetFirstIndexPtr() == nullptr && !(bSame && bAppend);
        const QvResult resWant = bNull ? QV_RES_INVALID_ARGUMENT : m_model.Update(rPiece, want);
        const QvResult res = m_aes.Update(&rblobIn, &blobOut, bAppend);
        RequireEqual(resWant, res, "Update(blob)");
        Bytes all = bAppend || res < 0 ? before : Bytes();
        all.insert(all.end(), want.begin(), want.end());
        RequireEqual(all, BytesOf(blobOut), "the blob");
        Note(res, rPiece, want);
    }

    /// Promised where whole blocks go in and none is held back.
    void UpdateInPlace(Bytes piece)
    {
        piece.resize(piece.size() / 16 * 16);
        if (m_model.uPartialSize != 0 || piece.empty()) return;
        Bytes want;
        const QvResult resWant = m_model.Update(piece, want);
        Bytes both = piece;
        unsigned int uWritten = 0x5A5A;
        const QvResult res = m_aes.Update(both.data(), SizeOf(both), both.data(), &uWritten);
        RequireEqual(resWant, res, "Update in place");
        RequireEqual(resWant >= 0 ? want : piece, both, "the bytes in place");
        Note(res, piece, want);
    }

    void End(CFuzzInput& rInput)
    {
        Bytes want;
        const QvResult resWant = m_model.End(want);
        QvResult res;
        if (rInput.Flag())
        {
            CBlob blobOut = BlobOf(Bytes(rInput.Below(20), 0x77));
            const Bytes before = BytesOf(blobOut);
            const bool bAppend = rInput.Flag();
            res = m_aes.End(&blobOut, bAppend);
            Bytes all = bAppend || res < 0 ? before : Bytes();
            all.insert(all.end(), want.begin(), want.end());
            RequireEqual(all, BytesOf(blobOut), "the blob at the end");
        }
        else
        {
            Bytes out(want);
            std::fill(out.begin(), out.end(), static_cast<unsigned char>(0));
            std::uint8_t uNone = 0;
            unsigned int uWritten = 0x5A5A;
            res = m_aes.End(out.empty() ? &uNone : out.data(), &uWritten);
            RequireEqual(want, out, "the last bytes");
            RequireEqual(resWant < 0 ? 0x5A5Au : SizeOf(want), uWritten, "their number");
        }
        RequireEqual(resWant, res, "End");
        Note(res, {}, want);
        if (res >= 0) CheckWhole();
        // A second End() transforms the same bytes again, and what follows is no message of anybody's.
        m_bWhole = false;
    }

    void CheckWhole() const
    {
        if (!m_bWhole || m_wholeIn.empty()) return;
        const Bytes want = EvpCrypt(static_cast<CCipher::EAction>(m_model.uAction),
                                    static_cast<CCipher::EMode>(m_model.uMode), m_wholeKey, m_wholeIv, m_wholeIn);
        RequireEqual(want, m_wholeOut, "the message, as EVP has it");
    }

    void SetDefaults(CFuzzInput& rInput)
    {
        switch (rInput.Below(4))
        {
            case 0:
            {
                const Bytes key = Key(rInput);
                const bool bNull = rInput.Below(6) == 0;
                const QvResult resWant =
                    key.size() > 32 || (bNull && !key.empty()) ? QV_RES_INVALID_ARGUMENT : QV_RES_OK;
                RequireEqual(resWant, m_aes.SetDefaultKey(bNull ? nullptr : DataOf(key), SizeOf(key)), "SetDefaultKey");
                if (resWant < 0) break;
                if (bNull) std::memset(m_model.auDefaultKey, 0, sizeof(m_model.auDefaultKey));
                std::copy(key.begin(), key.end(), m_model.auDefaultKey);
                m_model.uDefaultKeySize = SizeOf(key);
                break;
            }
            case 1:
            {
                const Bytes iv = Iv(rInput);
                const QvResult resWant = iv.size() == 16 ? QV_RES_OK : QV_RES_INVALID_ARGUMENT;
                RequireEqual(resWant, m_aes.SetDefaultIV(DataOf(iv), SizeOf(iv)), "SetDefaultIV");
                if (resWant >= 0) std::copy(iv.begin(), iv.end(), m_model.auDefaultIv);
                break;
            }
            case 2:
            {
                const unsigned int uAction = rInput.Below(4);
                const QvResult resWant = uAction <= 2 ? QV_RES_OK : QV_RES_INVALID_ARGUMENT;
                RequireEqual(resWant, m_aes.SetDefaultAction(static_cast<CCipher::EAction>(uAction)), "the action");
                if (resWant >= 0) m_model.uDefaultAction = uAction;
                break;
            }
            default:
            {
                const unsigned int uMode = rInput.Below(7);
                const QvResult resWant = uMode <= 5 ? QV_RES_OK : QV_RES_INVALID_ARGUMENT;
                RequireEqual(resWant, m_aes.SetDefaultMode(static_cast<CCipher::EMode>(uMode)), "the mode");
                if (resWant >= 0) m_model.uDefaultMode = uMode;
                break;
            }
        }
    }

    void WrongCalls(CFuzzInput& rInput)
    {
        std::uint8_t auBytes[48] = {};
        unsigned int uSize = 0x5A5A;
        const unsigned int uInSize = rInput.Below(20);
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.Update(nullptr, uInSize, auBytes, &uSize), "no input");
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.Update(auBytes, uInSize, nullptr, &uSize), "no output");
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.Update(auBytes, uInSize, auBytes, nullptr), "no size");
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.End(nullptr, &uSize), "End without output");
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.End(auBytes, static_cast<unsigned int*>(nullptr)),
                     "End without a size");
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.SetDefaultIV(nullptr, 16), "no default vector");
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.End(static_cast<CBlob*>(nullptr), rInput.Flag()), "End(null)");
        CBlob blob;
        RequireEqual(QV_RES_INVALID_ARGUMENT, m_aes.Update(nullptr, &blob, false), "Update(null)");
        RequireEqual(0x5A5Au, uSize, "what is refused writes nothing");
        RequireEqual(QV_RES_OK, m_aes.Update(auBytes, 0, auBytes, &uSize), "no bytes");
        RequireEqual(0u, uSize, "from no bytes");
    }

    /// Of the schedule, what the key makes of it: the words of its rounds, and their number.
    void CheckFields() const
    {
        constexpr std::size_t uFIELDS = 16;
        constexpr std::size_t uSCHEDULE = offsetof(SModel, schedule);
        constexpr std::size_t uROUNDS = uSCHEDULE + offsetof(AES_KEY, rounds);
        constexpr std::size_t uBEHIND = uSCHEDULE + sizeof(AES_KEY);
        const std::size_t uWords =
            m_model.schedule.rounds == 0 ? 0 : 16 * static_cast<std::size_t>(m_model.schedule.rounds + 1);
        RequireEqual(BytesAt(&m_model, 0, uSCHEDULE + uWords), BytesAt(&m_aes, uFIELDS, uSCHEDULE + uWords),
                     "the fields up to the schedule");
        RequireEqual(BytesAt(&m_model, uROUNDS, sizeof(SModel) - uROUNDS),
                     BytesAt(&m_aes, uFIELDS + uROUNDS, sizeof(SModel) - uROUNDS), "the fields behind it");
        static_assert(uBEHIND == uROUNDS + 4);
    }

    CAes m_aes;
    SModel m_model;
    bool m_bWhole = false;
    Bytes m_wholeKey;
    Bytes m_wholeIv;
    Bytes m_wholeIn;
    Bytes m_wholeOut;
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
