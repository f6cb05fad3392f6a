// The digests and the HMAC in random cuts, with every call at any moment, beside libcrypto's.
// Libraries: crypto
// Options: -max_len=600
#include <openssl/evp.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "framework/basic/blob.h"
#include "framework/crypto/hmac.h"
#include "framework/crypto/md5.h"
#include "framework/crypto/sha1.h"
#include "framework/crypto/sha256.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/message.h"
#include "fuzz/processor.h"
#include "tests/support/blob_probe.h"
#include "tests/support/bytes.h"
#include "tests/support/digest_oracle.h"

namespace
{
/// One digest object and what is known of it. "Unknown" is what a message becomes that goes on after its end.
template <class TDigest>
class CDigestPair
{
public:
    explicit CDigestPair(const EVP_MD* pAlgorithm) : m_pAlgorithm(pAlgorithm) {}

    void Step(CFuzzInput& rInput)
    {
        switch (rInput.Below(9))
        {
            case 0:
                RequireEqual(QV_RES_OK, m_digest.Begin(), "Begin");
                m_message.clear();
                m_eState = eRUNNING;
                break;
            case 1:
            case 2:
            {
                const Bytes piece = FuzzPiece(rInput);
                const QvResult resWant = Take(piece);
                RequireEqual(resWant, m_digest.Update(DataOf(piece), SizeOf(piece)), "Update");
                break;
            }
            case 3:
            {
                const Bytes piece = FuzzPiece(rInput);
                const CBlob blob = BlobOf(piece);
                const QvResult resWant = piece.empty() ? QV_RES_INVALID_ARGUMENT : Take(piece);
                RequireEqual(resWant, m_digest.Update(&blob), "Update(blob)");
                break;
            }
            case 4: EndRaw(); break;
            case 5: EndIntoBlob(rInput); break;
            case 7: CFuzzProcessor::Choose(rInput); break;
            case 6:
            {
                // A copy goes on from where the original stands.
                const TDigest copy(m_digest);
                m_digest = TDigest();
                m_digest = copy;
                break;
            }
            default:
                RequireEqual(QV_RES_INVALID_ARGUMENT, m_digest.Update(nullptr, rInput.Byte()), "Update(null)");
                RequireEqual(QV_RES_INVALID_ARGUMENT, m_digest.End(static_cast<std::uint8_t*>(nullptr)), "End(null)");
                RequireEqual(QV_RES_FAIL, m_digest.Update(nullptr), "Update(null blob)");
                RequireEqual(QV_RES_FAIL, m_digest.End(static_cast<CBlob*>(nullptr)), "End(null blob)");
                break;
        }
    }

private:
    enum EState
    {
        eNEW,
        eRUNNING,
        eENDED,
        eSPOILT
    };

    static constexpr bool bTRACKS_ERRORS = std::is_same_v<TDigest, CSha256>;

    QvResult Take(const Bytes& rPiece)
    {
        if (rPiece.empty()) return QV_RES_OK;
        m_message.insert(m_message.end(), rPiece.begin(), rPiece.end());
        if (m_eState == eRUNNING || m_eState == eNEW) return QV_RES_OK;
        m_eState = eSPOILT;
        return bTRACKS_ERRORS ? QV_RES_INVALID_STATE : QV_RES_OK;
    }

    /// What End() has to give: empty where nothing is promised.
    Bytes Wanted() const
    {
        const bool bKnown = m_eState == eRUNNING || (bTRACKS_ERRORS && m_eState == eENDED);
        return bKnown ? EvpDigest(m_pAlgorithm, m_message.data(), m_message.size()) : Bytes();
    }

    QvResult ResultOfEnd() const { return bTRACKS_ERRORS && m_eState == eSPOILT ? QV_RES_INVALID_STATE : QV_RES_OK; }

    void CheckEnd(const Bytes& rGot)
    {
        const Bytes wanted = Wanted();
        if (!wanted.empty()) RequireEqual(wanted, rGot, "the digest");
        if (m_eState != eSPOILT) m_eState = m_eState == eNEW ? eSPOILT : eENDED;
        if (!bTRACKS_ERRORS) m_eState = eSPOILT;
    }

    void EndRaw()
    {
        if (m_eState == eNEW) return;
        const QvResult resWant = ResultOfEnd();
        Bytes got(m_digest.GetSizeInBytes(), 0xEE);
        RequireEqual(resWant, m_digest.End(got.data()), "End");
        if (resWant >= 0) CheckEnd(got);
        else RequireEqual(Bytes(got.size(), 0xEE), got, "a refused End");
    }

    void EndIntoBlob(CFuzzInput& rInput)
    {
        if (m_eState == eNEW) return;
        CBlob blob = BlobOf(Bytes(rInput.Below(40), 0xEE));
        const QvResult resWant = ResultOfEnd();
        RequireEqual(resWant, m_digest.End(&blob), "End(blob)");
        RequireEqual(m_digest.GetSizeInBytes(), blob.GetSize(), "the blob's size");
        if (resWant >= 0) CheckEnd(BytesOf(blob));
    }

    const EVP_MD* m_pAlgorithm;
    TDigest m_digest;
    Bytes m_message;
    EState m_eState = eNEW;
};

class CMacPair
{
public:
    void Step(CFuzzInput& rInput)
    {
        switch (rInput.Below(7))
        {
            case 0:
            {
                const Bytes key = rInput.Bytes(140);
                if (rInput.Flag()) { RequireEqual(QV_RES_OK, m_mac.Begin(DataOf(key), SizeOf(key)), "Begin"); }
                else
                {
                    const CBlob blob = BlobOf(key);
                    RequireEqual(key.empty() ? QV_RES_FAIL : QV_RES_OK, m_mac.Begin(&blob), "Begin(blob)");
                    if (key.empty()) break;
                }
                m_key = key;
                m_message.clear();
                m_bKnown = true;
                break;
            }
            case 1:
            case 2:
            case 3:
            {
                const Bytes piece = FuzzPiece(rInput);
                m_message.insert(m_message.end(), piece.begin(), piece.end());
                if (rInput.Flag())
                {
                    RequireEqual(QV_RES_OK, m_mac.Update(DataOf(piece), SizeOf(piece)), "Update");
                    break;
                }
                const CBlob blob = BlobOf(piece);
                RequireEqual(piece.empty() ? QV_RES_FAIL : QV_RES_OK, m_mac.Update(&blob), "Update(blob)");
                break;
            }
            case 4: End(rInput.Flag()); break;
            case 5:
            {
                const CSha1Mac copy(m_mac);
                m_mac = CSha1Mac();
                m_mac = copy;
                break;
            }
            default:
                RequireEqual(QV_RES_FAIL, m_mac.Begin(nullptr, rInput.Byte()), "Begin(null)");
                RequireEqual(QV_RES_FAIL, m_mac.Update(nullptr, rInput.Byte()), "Update(null)");
                RequireEqual(QV_RES_FAIL, m_mac.End(static_cast<std::uint8_t*>(nullptr)), "End(null)");
                RequireEqual(QV_RES_FAIL, m_mac.Begin(nullptr), "Begin(null blob)");
                RequireEqual(QV_RES_FAIL, m_mac.Update(nullptr), "Update(null blob)");
                RequireEqual(QV_RES_FAIL, m_mac.End(static_cast<CBlob*>(nullptr)), "End(null blob)");
                break;
        }
    }

private:
    void End(bool bIntoBlob)
    {
        if (!m_bKnown) return;
        m_bKnown = false;
        const Bytes wanted = EvpHmac(EVP_sha1(), m_key, m_message);
        if (bIntoBlob)
        {
            CBlob blob = BlobOf(Bytes(33, 0xEE));
            RequireEqual(QV_RES_OK, m_mac.End(&blob), "End(blob)");
            RequireEqual(wanted, BytesOf(blob), "the code in a blob");
            return;
        }
        Bytes got(m_mac.GetSizeInBytes());
        RequireEqual(QV_RES_OK, m_mac.End(got.data()), "End");
        RequireEqual(wanted, got, "the code");
    }

    CSha1Mac m_mac;
    Bytes m_key;
    Bytes m_message;
    bool m_bKnown = false;
};

template <class TPair>
void RunSteps(TPair&& pair, CFuzzInput& rInput)
{
    for (unsigned int uStep = 0; !rInput.IsSpent() && uStep < 40; ++uStep)
    {
        const CFuzzStep step("step", uStep);
        pair.Step(rInput);
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    const CFuzzProcessor processor(input);
    switch (input.Below(4))
    {
        case 0: RunSteps(CDigestPair<CMd5>(EVP_md5()), input); break;
        case 1: RunSteps(CDigestPair<CSha1>(EVP_sha1()), input); break;
        case 2: RunSteps(CDigestPair<CSha256>(EVP_sha256()), input); break;
        default: RunSteps(CMacPair(), input); break;
    }
    return 0;
}
