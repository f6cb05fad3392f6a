#ifndef FRAMEWORK_CRYPTO_BASE64_H
#define FRAMEWORK_CRYPTO_BASE64_H
#include <stdint.h>

#include "framework/basic/blob.h"
#include "framework/crypto/cipher.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// Base64 behind the cipher interface: encrypting encodes, decrypting decodes.
/// ```
/// CString strText;                                    // a whole message in one call.
/// res = CBase64::ToText(blobBytes, &strText);
///
/// CBase64 base64;                                     // or one that comes in pieces.
/// res = base64.Begin(CCipher::eACTION_ENCRYPT, CCipher::eMODE_DEFAULT, nullptr, nullptr);
/// res = base64.Update(&blobBytes, &blobText, false);
/// res = base64.End(&blobText, true);
/// ```
///
/// A new object encodes, in the standard alphabet. Groups end in "=" padding, and there are no line breaks.
///
/// - **Sizes:** With a null output pointer, Update() and End() change nothing and only tell the size of what they would
///   write; of a text that does not decode, or is padded before its end, the most it could be.
/// - **Padding:** Of the input of one Update(), the whole groups that follow a padded one are ignored; the 1 to 3
///   characters behind the last whole group are held back as always. Only a group that an earlier Update() began is
///   decoded by itself: what follows it is decoded even if it was padded.
/// - **Cost:** With AVX2 or AVX-512 (found out at run time) under a cycle a byte either way.
/// - **Begin():** Empties the group that was begun; the mode is ignored; eACTION_DEFAULT encodes.
///   - `QV_RES_OK`: a message is begun; always so in the blob form, which ignores its blobs.
///   - `QV_RES_INVALID_ARGUMENT`: the key or the initialisation vector is not null.
/// - **Update():**
///   - `QV_RES_OK`: the input is converted, and the rest of up to 2 bytes or 3 characters held back.
///   - `QV_RES_INVALID_ARGUMENT`: the input or the size pointer is null, the input is empty, or the output would not
///     fit 32 bits (the blob form: a blob pointer is null, or the input is empty).
///   - `QV_RES_FAIL`: a group does not decode; *puOutSize tells what the groups before it gave.
/// - **End():** Writes the padded group that is left, 0 or 4 characters; in decoding, nothing.
///   - `QV_RES_OK`: the message is complete.
///   - `QV_RES_INVALID_ARGUMENT`: the size pointer (the blob form: the blob pointer) is null.
///   - `QV_RES_FAIL`: in decoding, the text's length was no multiple of 4; Begin() drops what is left.
///
/// After Begin() with an action that is none of CCipher's, Update() and End() do nothing and return QV_RES_OK.
///
/// - **Source:** RFC 4648, sections 4 and 5.
class QV_EXPORT CBase64 : public CCipher
{
public:
    /// Which characters stand for 62 and 63.
    enum EAlphabet : unsigned int
    {
        /// With "+" and "/".
        eALPHABET_STANDARD = 0,
        /// With "-" and "_".
        eALPHABET_URL_SAFE = 1
    };

    /// Without a message; the standard alphabet.
    CBase64();
    CBase64(const CBase64&) = default;
    CBase64& operator=(const CBase64&) = default;
    ~CBase64() override;

    /// Sets the alphabet, which takes effect at once and stays across Begin(). Any other value encodes as the standard
    /// alphabet, and decodes as one that has neither "+" nor "/".
    void SetAlphabet(EAlphabet eAlphabet);
    /// The alphabet that was set last.
    EAlphabet GetAlphabet() const;

    [[nodiscard]] QvResult Begin(EAction eAction, EMode eMode, const uint8_t* puKey, unsigned int uKeySize,
                                 const uint8_t* puIv, unsigned int uIvSize) override;
    [[nodiscard]] QvResult Update(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut,
                                  unsigned int* puOutSize) override;
    [[nodiscard]] QvResult End(uint8_t* puOut, unsigned int* puOutSize) override;
    [[nodiscard]] QvResult Begin(EAction eAction, EMode eMode, const CBlob* pblobKey, const CBlob* pblobIv) override;
    [[nodiscard]] QvResult Update(const CBlob* pblobIn, CBlob* pblobOut, bool bAppend) override;
    [[nodiscard]] QvResult End(CBlob* pblobOut, bool bAppend) override;
    /// CCipher::eBASE64.
    unsigned int GetAlgorithm() override;
    /// 0: there are no blocks.
    unsigned int GetBlockSizeInBits() override;
    unsigned int GetBlockSizeInByte() override;
    /// Null: there are no modes.
    const CVector<CCipher::EMode>* GetSupportedModes() override;

    /// A whole message at once: 4 characters for each 3 bytes begun, the last padded. Room for them, and for the input
    /// of a size above 0, is the caller's to provide: null is not refused.
    void Encode(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut);
    /// The other way, up to a padded group; *puOutSize tells the bytes written, at most 3 for 4 characters. puOutSize
    /// must not be null, nor puIn when uSize is above 0, nor puOut when that has whole groups.
    ///
    /// - `QV_RES_OK`: they are written.
    /// - `QV_RES_FAIL`: the group behind them does not decode, or has fewer than 4 characters.
    [[nodiscard]] QvResult Decode(const uint8_t* puIn, unsigned int uSize, uint8_t* puOut, unsigned int* puOutSize);
    /// Makes the base64 text of a blob all that a string holds, in one call. It ends in padding and has no line breaks.
    ///
    /// - `QV_RES_OK`: the string holds the text.
    /// - `QV_RES_INVALID_ARGUMENT`: the pointer is null, or the blob has more than 49,149 bytes, whose text no string
    ///   holds: Update() and End() write a longer one into a blob. The string is as it was.
    /// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the string, which is as it was.
    [[nodiscard]] static QvResult ToText(const CBlob& rblob, CString* pstrText,
                                         EAlphabet eAlphabet = eALPHABET_STANDARD);
    /// Makes the bytes of a base64 text all that a blob holds, in one call, and sets its cursors to 0. Only what
    /// ToText() writes is taken, so that no two texts stand for the same bytes. The text may stand in the blob. Cost:
    /// room for the bytes behind those that the blob holds; a move of the bytes if it holds any.
    ///
    /// - `QV_RES_OK`: the blob holds the bytes.
    /// - `QV_RES_INVALID_ARGUMENT`: a pointer is null, or the text is no such: a character, be it white space, is not
    ///   of the alphabet, padding is missing or followed by more, or the bits beside it are not 0. The blob is as it
    ///   was, maybe with more capacity.
    /// - `QV_RES_OUT_OF_MEMORY`: the blob's allocator gave no block; the blob is as it was.
    [[nodiscard]] static QvResult FromText(const CString& rText, CBlob* pblob,
                                           EAlphabet eAlphabet = eALPHABET_STANDARD);
    [[nodiscard]] static QvResult FromText(const char* pszText, CBlob* pblob, EAlphabet eAlphabet = eALPHABET_STANDARD);
    /// The value of a character; -1 when the alphabet does not have it.
    int Position(uint8_t c);

private:
    QV_HIDDEN QvResult UpdateEncoding(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut,
                                      unsigned int* puOutSize);
    QV_HIDDEN QvResult UpdateEncodingBehindRest(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut,
                                                unsigned int* puOutSize);
    QV_HIDDEN QvResult UpdateDecoding(const uint8_t* puIn, unsigned int uInSize, uint8_t* puOut,
                                      unsigned int* puOutSize);
    QV_HIDDEN unsigned int DecodedSize(const uint8_t* puIn, unsigned int uInSize) const;
    QV_HIDDEN unsigned int TopUpGroup(const uint8_t* puIn, unsigned int uInSize, unsigned int uFull);
    QV_HIDDEN void KeepRest(const uint8_t* puRest, unsigned int uSize);

    EAction m_eDefaultAction;
    EMode m_eDefaultMode;
    EAction m_eAction;
    EMode m_eMode;
    uint8_t m_auGroup[4];
    unsigned int m_uGroupSize;
    unsigned int m_uAlphabet;
};

#endif
