// CBase64 in random cuts, both ways and with either alphabet, beside a model that takes a character at a time and,
// whole messages, beside libcrypto.
// Libraries: crypto
// Options: -max_len=300
#include <openssl/evp.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "framework/basic/blob.h"
#include "framework/basic/string.h"
#include "framework/crypto/base64.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/message.h"
#include "fuzz/processor.h"
#include "tests/support/base64_model.h"
#include "tests/support/blob_probe.h"
#include "tests/support/bytes.h"

namespace
{
std::string TextOf(const Bytes& rBytes)
{
    return {rBytes.begin(), rBytes.end()};
}

std::string EvpEncoded(const Bytes& rBytes, unsigned int uAlphabet)
{
    Bytes text((rBytes.size() + 2) / 3 * 4 + 1);
    const int nSize = EVP_EncodeBlock(text.data(), DataOf(rBytes), static_cast<int>(rBytes.size()));
    std::string strText(text.begin(), text.begin() + nSize);
    if (uAlphabet != CBase64::eALPHABET_URL_SAFE) return strText;
    std::replace(strText.begin(), strText.end(), '+', '-');
    std::replace(strText.begin(), strText.end(), '/', '_');
    return strText;
}

/// Feeds a message to an object, in pieces, as raw bytes or blobs; what comes out is appended to one text.
class CStream
{
public:
    CStream(CFuzzInput& rInput, CCipher::EAction eAction, unsigned int uAlphabet) : m_model(uAlphabet)
    {
        m_base64.SetAlphabet(static_cast<CBase64::EAlphabet>(uAlphabet));
        // A message that was begun, whichever way, leaves nothing to the next.
        const Bytes begun(rInput.Below(4), 'A');
        Restart(rInput.Flag() ? CCipher::eACTION_ENCRYPT : CCipher::eACTION_DECRYPT);
        if (!begun.empty()) FeedRaw(begun, 0);
        m_strOut.clear();
        Restart(eAction);
    }

    void Restart(CCipher::EAction eAction)
    {
        RequireEqual(QV_RES_OK, m_base64.Begin(eAction, CCipher::eMODE_DEFAULT, nullptr, 0, nullptr, 0), "Begin");
    }

    QvResult Feed(CFuzzInput& rInput, const Bytes& rPiece)
    {
        return rInput.Flag() ? FeedBlob(rPiece) : FeedRaw(rPiece, rInput.Below(4));
    }

    QvResult End(bool bIntoBlob)
    {
        unsigned int uSize = 0x5A5A;
        const QvResult resQuery = m_base64.End(nullptr, &uSize);
        if (bIntoBlob)
        {
            CBlob blobOut = BlobOf(m_prefix);
            const QvResult res = m_base64.End(&blobOut, true);
            RequireEqual(resQuery, res, "End(blob)");
            Take(BytesOf(blobOut));
            return res;
        }
        Bytes out(uSize);
        unsigned int uWritten = 0x5A5A;
        // A null pointer would ask for the size.
        static std::uint8_t s_uNone;
        const QvResult res = m_base64.End(out.empty() ? &s_uNone : out.data(), &uWritten);
        RequireEqual(resQuery, res, "End");
        RequireEqual(uSize, uWritten, "the size that End tells");
        m_strOut.append(out.begin(), out.begin() + uWritten);
        return res;
    }

    const std::string& GetOut() const { return m_strOut; }
    CBase64Model& GetModel() { return m_model; }
    CBase64& GetBase64() { return m_base64; }

private:
    QvResult FeedRaw(const Bytes& rPiece, unsigned int uShift)
    {
        unsigned int uSize = 0x5A5A;
        const QvResult resQuery = m_base64.Update(DataOf(rPiece), SizeOf(rPiece), nullptr, &uSize);
        if (rPiece.empty())
        {
            RequireEqual(QV_RES_INVALID_ARGUMENT, resQuery, "nothing");
            return resQuery;
        }
        // At any alignment, with not a byte more than it says that it takes.
        Bytes in(uShift);
        in.insert(in.end(), rPiece.begin(), rPiece.end());
        Bytes out(uSize);
        static std::uint8_t s_uNone;
        unsigned int uWritten = 0x5A5A;
        const QvResult res =
            m_base64.Update(in.data() + uShift, SizeOf(rPiece), out.empty() ? &s_uNone : out.data(), &uWritten);
        Require(uWritten <= uSize, "more than the size told");
        m_strOut.append(out.begin(), out.begin() + uWritten);
        return res;
    }

    QvResult FeedBlob(const Bytes& rPiece)
    {
        const CBlob blob = BlobOf(rPiece);
        CBlob blobOut = BlobOf(m_prefix);
        const QvResult res = m_base64.Update(&blob, &blobOut, true);
        // The raw form tells what the groups before a bad one gave; a blob stays as it is.
        if (res < 0) RequireEqual(m_prefix, BytesOf(blobOut), "a refused Update(blob)");
        Take(BytesOf(blobOut));
        return res;
    }

    /// What was appended to a blob that held the prefix.
    void Take(const Bytes& rBytes)
    {
        Require(rBytes.size() >= m_prefix.size(), "a blob lost its beginning");
        const auto itNew = rBytes.begin() + static_cast<std::ptrdiff_t>(m_prefix.size());
        RequireEqual(m_prefix, Bytes(rBytes.begin(), itNew), "the beginning of a blob");
        m_strOut.append(itNew, rBytes.end());
    }

    CBase64 m_base64;
    CBase64Model m_model;
    const Bytes m_prefix = Bytes(3, 'a');
    std::string m_strOut;
};

/// The next piece of a message.
Bytes Cut(CFuzzInput& rInput, const Bytes& rMessage, std::size_t& ruAt)
{
    const std::size_t uLeft = rMessage.size() - ruAt;
    // The rest at once, when nothing tells where to cut.
    const std::size_t uSize = rInput.IsSpent() ? uLeft : 1 + rInput.Below(uLeft);
    const auto itFrom = rMessage.begin() + static_cast<std::ptrdiff_t>(ruAt);
    ruAt += uSize;
    return {itFrom, itFrom + static_cast<std::ptrdiff_t>(uSize)};
}

/// At once, what encoding does not give is refused, and the blob stays as it is.
void DecodeAtOnce(const std::string& rstrText, unsigned int uAlphabet)
{
    std::string strWant;
    const CBase64Model model(uAlphabet);
    const bool bGood = model.Decode(rstrText, strWant) >= 0 && model.Encode(strWant) == rstrText;
    CBlob blob = BlobOf(Bytes(3, 'a'));
    const QvResult res = CBase64::FromText(CString(rstrText.data(), static_cast<unsigned int>(rstrText.size())), &blob,
                                           static_cast<CBase64::EAlphabet>(uAlphabet));
    RequireEqual(bGood ? QV_RES_OK : QV_RES_INVALID_ARGUMENT, res, "FromText");
    RequireEqual(bGood ? strWant : "aaa", TextOf(BytesOf(blob)), "the bytes at once");
}

void RoundTrip(CFuzzInput& rInput, unsigned int uAlphabet)
{
    const Bytes message = FuzzPiece(rInput);
    const std::string strWant = EvpEncoded(message, uAlphabet);
    CStream encoder(rInput, CCipher::eACTION_ENCRYPT, uAlphabet);
    for (std::size_t uAt = 0; uAt < message.size();)
    {
        RequireEqual(QV_RES_OK, encoder.Feed(rInput, Cut(rInput, message, uAt)), "encoding");
    }
    RequireEqual(QV_RES_OK, encoder.End(rInput.Flag()), "the end of encoding");
    RequireEqual(strWant, encoder.GetOut(), "the text");
    Bytes text(strWant.begin(), strWant.end());
    Bytes whole(text.size());
    encoder.GetBase64().Encode(DataOf(message), SizeOf(message), whole.data());
    RequireEqual(text, whole, "Encode");
    CString strText;
    RequireEqual(QV_RES_OK, CBase64::ToText(BlobOf(message), &strText, static_cast<CBase64::EAlphabet>(uAlphabet)),
                 "ToText");
    RequireEqual(strWant, std::string(strText.begin(), strText.end()), "the text at once");

    CStream decoder(rInput, CCipher::eACTION_DECRYPT, uAlphabet);
    for (std::size_t uAt = 0; uAt < text.size();)
    {
        RequireEqual(QV_RES_OK, decoder.Feed(rInput, Cut(rInput, text, uAt)), "decoding");
    }
    RequireEqual(QV_RES_OK, decoder.End(rInput.Flag()), "the end of decoding");
    RequireEqual(TextOf(message), decoder.GetOut(), "the bytes");
    DecodeAtOnce(strWant, uAlphabet);
}

/// Text that may be anything, most of it of the alphabet.
Bytes AnyText(CFuzzInput& rInput)
{
    Bytes text = FuzzPiece(rInput);
    const unsigned int uKeep = rInput.Byte();
    static const char szALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/-_";
    for (std::size_t u = 0; u < text.size(); ++u)
    {
        if ((u ^ uKeep) % 64 != 0 || uKeep < 64) text[u] = static_cast<unsigned char>(szALPHABET[text[u] % 66]);
    }
    if (rInput.Flag() && !text.empty()) text.back() = '=';
    if (rInput.Flag() && text.size() > 1) text[text.size() - 2] = '=';
    return text;
}

void DecodeAnything(CFuzzInput& rInput, unsigned int uAlphabet)
{
    const Bytes text = rInput.Flag() ? rInput.Bytes(100) : AnyText(rInput);
    const std::string strText = TextOf(text);
    DecodeAtOnce(strText, uAlphabet);
    CStream decoder(rInput, CCipher::eACTION_DECRYPT, uAlphabet);
    Bytes whole(text.size() / 4 * 3 + 3);
    unsigned int uWritten = 0;
    std::string strWant;
    QvResult resWant = CBase64Model(uAlphabet).Decode(strText, strWant);
    const QvResult resWhole = decoder.GetBase64().Decode(DataOf(text), SizeOf(text), whole.data(), &uWritten);
    RequireEqual(strWant, TextOf(Bytes(whole.begin(), whole.begin() + uWritten)), "Decode");
    // A rest of one to three characters is an error unless padding came before it.
    const bool bPadded = resWant == QV_RES_OK && strWant.size() != text.size() / 4 * 3;
    if (resWant == QV_RES_OK && text.size() % 4 != 0 && !bPadded) resWant = QV_RES_FAIL;
    RequireEqual(resWant, resWhole, "Decode's result");

    std::string strStreamed;
    for (std::size_t uAt = 0; uAt < text.size();)
    {
        const Bytes piece = Cut(rInput, text, uAt);
        unsigned int uTold = 0;
        RequireEqual(QV_RES_OK, decoder.GetBase64().Update(piece.data(), SizeOf(piece), nullptr, &uTold), "a query");
        RequireEqual(decoder.GetModel().QueryDecoded(TextOf(piece)), std::size_t{uTold}, "the size told");
        const bool bBlob = rInput.Flag();
        const std::size_t uBefore = strStreamed.size();
        resWant = decoder.GetModel().UpdateDecoding(TextOf(piece), strStreamed);
        std::uint8_t uMode = bBlob ? 1 : 0;
        CFuzzInput mode(&uMode, 1);
        RequireEqual(resWant, decoder.Feed(mode, piece), "Update");
        if (resWant < 0)
        {
            if (bBlob) strStreamed.resize(uBefore);
            break;
        }
    }
    if (resWant >= 0)
    {
        RequireEqual(decoder.GetModel().IsGroupBegun() ? QV_RES_FAIL : QV_RES_OK, decoder.End(rInput.Flag()), "End");
    }
    RequireEqual(strStreamed, decoder.GetOut(), "what was decoded");
}

/// Calls that are refused or do nothing, and a blob that is input and output at once.
void OddCalls(CFuzzInput& rInput, unsigned int uAlphabet)
{
    CBase64 base64;
    base64.SetAlphabet(static_cast<CBase64::EAlphabet>(uAlphabet));
    const unsigned char uCharacter = rInput.Byte();
    RequireEqual(CBase64Model(uAlphabet).Value(uCharacter), base64.Position(uCharacter), "Position");

    const std::uint8_t uByte = 0;
    unsigned int uSize = 7;
    RequireEqual(QV_RES_INVALID_ARGUMENT,
                 base64.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, &uByte, 0, nullptr, 0), "a key");
    RequireEqual(QV_RES_INVALID_ARGUMENT,
                 base64.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_CBC, nullptr, 0, &uByte, 0),
                 "an initialisation vector");
    RequireEqual(QV_RES_INVALID_ARGUMENT, base64.Update(nullptr, 1, nullptr, &uSize), "no input");
    RequireEqual(QV_RES_INVALID_ARGUMENT, base64.Update(&uByte, 1, nullptr, nullptr), "no size");
    RequireEqual(QV_RES_INVALID_ARGUMENT, base64.End(nullptr, static_cast<unsigned int*>(nullptr)),
                 "End without a size");

    const CCipher::EAction eAction = static_cast<CCipher::EAction>(rInput.Below(4));
    RequireEqual(QV_RES_OK, base64.Begin(eAction, CCipher::eMODE_ECB, nullptr, nullptr), "Begin(blobs)");
    const Bytes message = FuzzPiece(rInput);
    if (message.empty()) return;
    CBlob blob = BlobOf(message);
    const bool bAppend = rInput.Flag();
    const QvResult res = base64.Update(&blob, &blob, bAppend);
    std::string strWant = bAppend ? TextOf(message) : std::string();
    if (eAction == CCipher::eACTION_DECRYPT)
    {
        CBase64Model model(uAlphabet);
        RequireEqual(model.UpdateDecoding(TextOf(message), strWant), res, "decoded into itself");
        if (res < 0)
        {
            // What it was written over with is anybody's; where it was appended, nothing is lost.
            RequireEqual(SizeOf(message), blob.GetSize(), "the size of what does not decode");
            if (!bAppend) return;
            strWant = TextOf(message);
        }
    }
    else if (eAction != 3)
    {
        RequireEqual(QV_RES_OK, res, "encoded into itself");
        RequireEqual(QV_RES_OK, base64.End(&blob, true), "End into itself");
        strWant += EvpEncoded(message, uAlphabet);
    }
    RequireEqual(strWant, TextOf(BytesOf(blob)), "converted into itself");
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* puData, std::size_t uSize)
{
    CFuzzInput input(puData, uSize);
    const CFuzzProcessor processor(input);
    const unsigned int uByte = input.Byte();
    // An alphabet that there is not encodes like the standard one, and has neither of its last two characters.
    const unsigned int uAlphabet = uByte >= 240 ? 2 : uByte % 2;
    switch (uByte / 2 % 4)
    {
        case 0: RoundTrip(input, uAlphabet % 2); break;
        case 1: OddCalls(input, uAlphabet); break;
        default: DecodeAnything(input, uAlphabet); break;
    }
    return 0;
}
