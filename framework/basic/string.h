#ifndef FRAMEWORK_BASIC_STRING_H
#define FRAMEWORK_BASIC_STRING_H
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <type_traits>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/basic/marshaler.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/is_within.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"

/// An empty text.
extern QV_EXPORT const char g_szEMPTY_STRING[1];
/// The text NULL.
extern QV_EXPORT const char g_szNULL[5];

template <typename T>
class CVector;

namespace orvel_internal
{
/// Whether numbers of this type are written with digits: integers of up to 64 bits, but neither bool nor characters
/// (signed and unsigned char count as numbers).
template <typename T>
constexpr bool g_bIS_NUMBER = std::is_integral<T>::value && sizeof(T) <= sizeof(int64_t) &&
                              !std::is_same<T, bool>::value &&
#ifdef __cpp_char8_t
                              !std::is_same<T, char8_t>::value &&
#endif
                              !std::is_same<T, char>::value && !std::is_same<T, wchar_t>::value &&
                              !std::is_same<T, char16_t>::value && !std::is_same<T, char32_t>::value;
template <typename Integer>
using Widest = std::conditional_t<std::is_signed<Integer>::value, int64_t, uint64_t>;
}  // namespace orvel_internal

/// A text that a call looks at, or copies from: it is made by itself where an operation of CString takes one, from
/// ```
/// "literal", const char*         the characters up to the NUL; none for null
/// 'c'                            this character
/// CString, std::string_view ...  what has data() and size(): all characters, NULs included
/// ```
/// Nothing is copied: it is valid as long as what it was made from.
struct STextPiece
{
    /// The characters up to the NUL; none for null.
    STextPiece(const char* pszText) : pText(pszText != nullptr ? pszText : ""), uSize(strlen(pText)) {}
    /// uSizeGiven characters, NULs included; none for null.
    STextPiece(const char* pTextGiven, size_t uSizeGiven)
        : pText(pTextGiven != nullptr ? pTextGiven : ""), uSize(pTextGiven != nullptr ? uSizeGiven : 0)
    {
    }
    /// One character.
    template <typename Character, std::enable_if_t<std::is_same<Character, char>::value, int> = 0>
    STextPiece(const Character& rc) : pText(&rc), uSize(1)
    {
    }
    /// All characters of what has data() and size().
    template <typename Text,
              std::enable_if_t<std::is_convertible<decltype(std::declval<const Text&>().data()), const char*>::value &&
                                   std::is_convertible<decltype(std::declval<const Text&>().size()), size_t>::value,
                               int> = 0>
    STextPiece(const Text& rText) : STextPiece(rText.data(), rText.size())
    {
    }

    const char* pText;  ///< Never null.
    size_t uSize;       ///< The number of characters, NULs included.
};

/// A byte string of at most 65,535 characters, always terminated by a NUL, whose characters are shared between copies
/// until one of them changes.
/// ```
/// CString --+
///           +--> [ share count 2 | capacity 32 | size 5 | h e l l o NUL ... ]
/// CString --+
/// ```
///
/// - **Ownership:** Owns its share of a block from the default allocator; a null text counts as an empty one except
///   where said.
/// - **Threads:** Copies may be used and destroyed in different threads, one mutex guarding all share counts. One
///   object is used by one thread at a time.
/// - **Lifetime:** Between the start-up and the shut-down of the framework: made outside it, a string ends the process
///   with a line that says so. One that is left may be read and destroyed later; its block is not given back.
/// - **Growth:** In steps of 32 characters, but push_back() and Format() double; blocks shrink only by
///   ReduceCapacity().
/// - **Cost:** Copying is constant: no character is copied.
/// - **Failure:** What returns a QvResult leaves the string as it was when it fails, unless said otherwise. What
///   returns nothing does nothing when an argument is out of range or memory runs out.
/// - **Too long:** A text of more than uMAX_SIZE characters never enters a string, nor does its beginning. What cannot
///   tell so, operators and constructors, names the call that does: Assign() or Append().
/// - **Aliasing:** A text handed to an operation may be a part of this string.
/// - **Standard library:** Iterators are pointers to constant characters. A string is a contiguous range for
///   algorithms, C++20 ranges and GoogleTest's matchers of containers, and takes std::back_inserter(). More stands in
///   framework/interop/standard.h.
class QV_EXPORT CString
{
public:
    /// The largest size; as a number of characters for Insert() and the constructor it means the length of the source
    /// text, for Assign() and Append() just this many characters.
    static constexpr unsigned int uMAX_SIZE = 65535;

    using value_type = char;
    using size_type = unsigned int;
    using difference_type = ptrdiff_t;
    using pointer = const char*;
    using const_pointer = const char*;
    using reference = const char&;
    using const_reference = const char&;
    using iterator = const char*;
    using const_iterator = const char*;

    /// Empty. Cost: no allocation.
    CString();
    /// Empty when the text is longer than uMAX_SIZE, or memory runs out: Assign() tells.
    CString(const char* pszText);
    /// uSize characters, NULs included, of pszText; but uMAX_SIZE means its length, as in Insert(). Empty when they are
    /// more, or memory runs out: Assign() tells, and takes any size as it is.
    CString(const char* pszText, unsigned int uSize);
    /// Shares the block. The 65,536th string that does gets a block of its own, and is empty when memory runs out.
    CString(const CString& rSrc);
    /// Takes the block; rSrc is empty afterwards.
    CString(CString&& rSrc) noexcept;
    virtual ~CString();

    /// Shares the block. Unchanged only where 65,535 strings share it already and memory runs out: Assign() tells.
    CString& operator=(const CString& rSrc);
    /// The two strings exchange their blocks.
    CString& operator=(CString&& rSrc) noexcept;
    /// Unchanged when the text is longer than uMAX_SIZE, or memory runs out: Assign() tells.
    CString& operator=(const char* pszText);
    /// A NUL gives an empty string.
    CString& operator=(char c);
    /// Makes a text all that the string holds; null has no characters, whatever uSize says. Any size is a plain length
    /// here: where Insert() takes uMAX_SIZE for "up to the NUL", these are 65,535 characters, NULs included.
    /// Cost: a copy; no new block within the capacity of one that is not shared.
    ///
    /// - `QV_RES_OK`: the string holds the text.
    /// - `QV_RES_INVALID_ARGUMENT`: the text is longer than uMAX_SIZE.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult Assign(const char* pText, unsigned int uSize) { return AssignText(pText, uSize); }
    [[nodiscard]] QvResult Assign(STextPiece text) { return AssignText(text.pText, text.uSize); }

    /// Equal sizes and equal characters up to a NUL, as strncmp() sees them: those behind it are not compared.
    /// Compare() is 0 where all are equal.
    bool operator==(const CString& rOther) const
    {
        // Bytes that are all equal, which is the common case, need no look for a NUL.
        const unsigned int uSize = GetSize();
        return uSize == rOther.GetSize() &&
               (memcmp(CStr(), rOther.CStr(), uSize) == 0 || strncmp(CStr(), rOther.CStr(), uSize) == 0);
    }
    bool operator==(const char* pszOther) const
    {
        // As long as this one, the other text has no NUL where strncmp() could end.
        if (pszOther == nullptr) pszOther = "";
        return GetSize() == strlen(pszOther) && memcmp(CStr(), pszOther, GetSize()) == 0;
    }
    bool operator!=(const CString& rOther) const { return !(*this == rOther); }
    bool operator!=(const char* pszOther) const { return !(*this == pszOther); }
    /// Orders by all characters as unsigned bytes, the shorter of equal beginnings first.
    bool operator<(const CString& rOther) const { return Compare(rOther) < 0; }
    /// Negative, 0 or positive as this string orders before, with or after the other one: the order of `<`, in one go.
    /// Trees, maps, sorts and searches of strings use it where they are given no comparison. NULs are characters like
    /// others here, so that two strings which `==` takes for equal may order one before the other.
    int Compare(const CString& rOther) const
    {
        const unsigned int uSize = GetSize();
        const unsigned int uOtherSize = rOther.GetSize();
        const unsigned int uCommon = uSize < uOtherSize ? uSize : uOtherSize;
        if (uCommon != 0)
        {
            // Most texts differ early. Only where they do not, is a call worth it. Two branches, not one and a
            // conditional value: a search in a tree goes on below a node that is guessed, where it would wait for the
            // value.
            const uint64_t uBegin = BeginOf(CStr(), uCommon);
            const uint64_t uOtherBegin = BeginOf(rOther.CStr(), uCommon);
            if (uBegin < uOtherBegin) return -1;
            if (uBegin > uOtherBegin) return 1;
            const int nOrder = uCommon > 8 ? memcmp(CStr() + 8, rOther.CStr() + 8, uCommon - 8) : 0;
            if (nOrder != 0) return nOrder;
        }
        return static_cast<int>(uSize) - static_cast<int>(uOtherSize);
    }
    /// Compares with a text of any length, up to its NUL. No string is made of it.
    int Compare(const char* pszOther) const
    {
        if (pszOther == nullptr) pszOther = "";
        const char* const pszOwn = CStr();
        const unsigned int uSize = GetSize();
        for (unsigned int u = 0; u != 4; ++u)
        {
            if (u == uSize) return pszOther[u] == '\0' ? 0 : -1;
            if (pszOwn[u] != pszOther[u])
                return static_cast<unsigned char>(pszOwn[u]) < static_cast<unsigned char>(pszOther[u]) ? -1 : 1;
            if (pszOwn[u] == '\0') return 1;  // a character of this string, and the end of the other text
        }
        return CompareRest(pszOther);
    }
    /// Negative, 0 or positive as this text orders before, with or after the other up to a NUL, letters of either case
    /// being equal (tolower()). pszOther must not be null.
    int CaseInsCmp(const char* pszOther) const;
    /// Index of the first occurrence at or after uStartIndex, looked for up to a NUL. GetSize() when there is none, the
    /// substring is empty or uStartIndex is not below the size.
    unsigned int FindSubstring(unsigned int uStartIndex, const char* pszSubstring) const;
    /// Index of the last occurrence, GetSize() when there is none or the text is empty. NULs are characters like others
    /// here, and in the next three, for which every string begins with, ends in and contains the empty text.
    unsigned int FindLast(STextPiece text) const;
    /// Whether the first characters are those of the text.
    bool StartsWith(STextPiece text) const
    {
        return text.uSize <= GetSize() && memcmp(CStr(), text.pText, text.uSize) == 0;
    }
    /// Whether the last characters are those of the text.
    bool EndsWith(STextPiece text) const
    {
        return text.uSize <= GetSize() && memcmp(end() - text.uSize, text.pText, text.uSize) == 0;
    }
    /// Whether the text occurs.
    bool Contains(STextPiece text) const { return memmem(CStr(), GetSize(), text.pText, text.uSize) != nullptr; }
    /// A string of up to uSize characters from uIndex on, as many as there are. The whole text shares the block. Empty
    /// when memory runs out: Assign(str.CStr() + uIndex, uSize) tells.
    CString Substring(unsigned int uIndex, unsigned int uSize = uMAX_SIZE) const;
    /// Makes the parts between the separators all that *pParts holds, in their order. Empty parts count: "a,,b" has
    /// three, "," has two, and an empty string is one empty part. The string may be one of *pParts.
    /// Cost: one pass, and the parts copied. Strings that *pParts holds are written to within their capacity: lines
    /// that are split into one vector soon ask for no more memory. Include "framework/basic/vector.h".
    ///
    /// - `QV_RES_OK`: *pParts has the parts.
    /// - `QV_RES_INVALID_ARGUMENT`: pParts is null.
    /// - `QV_RES_INVALID_STATE`: its capacity is locked and does not suffice; it is as it was.
    /// - `QV_RES_OUT_OF_MEMORY`: an allocator gave no block; *pParts is empty, or as it was.
    template <typename String>
    [[nodiscard]] QvResult Split(char cSeparator, CVector<String>* pParts) const;

    /// The characters and their NUL; valid until this string changes or ends.
    const char* CStr() const { return CharactersOf(m_pstInfo); }
    /// How many characters there are, without the NUL behind them.
    unsigned int GetSize() const { return m_pstInfo->uSize; }
    /// How many characters there is room for.
    unsigned int GetCapacity() const { return m_pstInfo->uCapacity; }
    /// Whether there is no character.
    bool IsEmpty() const { return GetSize() == 0; }
    /// The character at an index that the caller knows to be at most the size.
    const char& GetAt(unsigned int uIndex) const { return CStr()[uIndex]; }
    /// GetAt().
    const char& operator[](unsigned int uIndex) const { return GetAt(uIndex); }
    /// For range-for and the standard algorithms: the characters without their NUL, valid as long as CStr() is.
    const char* begin() const { return CStr(); }
    const char* end() const { return CStr() + GetSize(); }
    const char* cbegin() const { return begin(); }
    const char* cend() const { return end(); }
    const char* data() const { return CStr(); }
    unsigned int size() const { return GetSize(); }
    [[nodiscard]] bool empty() const { return IsEmpty(); }
    /// The first and the last character of a string that the caller knows to have one.
    const char& front() const { return *begin(); }
    const char& back() const { return end()[-1]; }
    /// Keeps the capacity, like EraseAll(); but a string that shares its block leaves it, so that this never fails.
    void clear()
    {
        if (IsShared()) *this = CString();
        else EraseAll();
    }
    /// Appends a character. The capacity doubles where it has to grow, so that n of them cost O(n); `+=` takes steps of
    /// 32 characters. Throws std::bad_alloc (a program without exceptions ends) when memory runs out or the string has
    /// uMAX_SIZE characters: Append(c) tells.
    void push_back(char c)
    {
        if (AppendInPlace(c)) return;
        const unsigned int uCapacity = GetCapacity() < uMAX_SIZE / 2 ? 2 * GetCapacity() : uMAX_SIZE;
        // Without memory for so much, a step may still do.
        if (GetSize() == GetCapacity()) static_cast<void>(ReserveCapacity(static_cast<unsigned short>(uCapacity)));
        const char cHere = c;
        if (Append(&cHere, 1) < 0) orvel_internal::ThrowOutOfMemory();
    }
    /// The characters for writing, GetCapacity() of them and a NUL; Resize() tells how many were written. Valid until
    /// the string is copied or changes. Null when the block is shared and memory runs out.
    char* GetBuffer() { return !IsShared() || CreateCopy() >= 0 ? Characters() : nullptr; }
    /// Replaces a character; nothing happens when uIndex is not below the size.
    void SetAt(unsigned int uIndex, char c)
    {
        if (uIndex < GetSize() && (!IsShared() || CreateCopy() >= 0)) Characters()[uIndex] = c;
    }
    /// tolower() on each character up to a NUL.
    void ToLowerCase();
    /// toupper() on each character up to a NUL.
    void ToUpperCase();

    /// Puts uRepetition copies of uSize characters in front of index uIndex (GetSize() appends); uMAX_SIZE means the
    /// length of the text. Cost: moves the characters behind uIndex, and all when the capacity has to grow.
    ///
    /// - `QV_RES_OK`: the characters are in, or there were none.
    /// - `QV_RES_INVALID_ARGUMENT`: uIndex is above the size, or the result would be longer than uMAX_SIZE.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const char* pszSrc,
                                  unsigned int uSize);
    /// Puts uRepetition copies of uSize characters of rSrc, from uStartIndex on, in front of index uIndex; here too
    /// uMAX_SIZE characters mean the length of the text from there.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: also when they pass the end of rSrc.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const CString& rSrc,
                                  unsigned int uStartIndex, unsigned int uSize);
    /// Puts uRepetition characters c in front of index uIndex. Results as of the other forms.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, unsigned int uRepetition, char c);
    /// Removes uSize characters; nothing happens unless they all exist.
    void Erase(unsigned int uIndex, unsigned int uSize);
    /// Removes all characters; the capacity stays.
    void EraseAll();
    /// Removes all leading characters equal to c.
    void TrimLeftSide(char c);
    /// Removes all trailing characters equal to c.
    void TrimRightSide(char c);
    /// Removes all leading and trailing characters that are one of these.
    void Trim(STextPiece characters = " \n\r\t\v\f");
    /// Replaces all occurrences of a text, found from left to right; an empty text does not occur. NULs are characters
    /// like others. Cost: one pass; another one first, and a new block, unless the text gets no longer, is nobody
    /// else's, and none of the arguments is a part of this string.
    ///
    /// - `QV_RES_OK`: all are replaced, or there were none.
    /// - `QV_RES_INVALID_ARGUMENT`: the result would be longer than uMAX_SIZE.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult Replace(STextPiece oldText, STextPiece newText);
    /// Sets the size within the capacity; characters that come in are what the block held.
    void Resize(unsigned int uSize);
    /// Makes room for uCapacity characters, rounded up to a multiple of 32, at most uMAX_SIZE.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult ReserveCapacity(unsigned short uCapacity);
    /// Makes the capacity the larger of uCapacity and the size, rounded up likewise, if it is more.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    QvResult ReduceCapacity(unsigned short uCapacity);

    /// Puts a text behind this one. As in Assign(), any size is a plain length, and null has no characters; no
    /// characters change nothing. Cost: inline within the capacity of a block that is not shared.
    ///
    /// - `QV_RES_OK`: the characters are in, or there were none.
    /// - `QV_RES_INVALID_ARGUMENT`: both together are longer than uMAX_SIZE.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult Append(const char* pText, unsigned int uSize) { return Append(STextPiece(pText, uSize)); }
    [[nodiscard]] QvResult Append(STextPiece text)
    {
        if (text.uSize == 0 || AppendInPlace(text.pText, text.uSize)) return QV_RES_OK;
        return AppendText(text.pText, text.uSize);
    }

    /// Unchanged when the result would be too long, or memory runs out: Append() tells. A string of uMAX_SIZE
    /// characters counts up to its first NUL, as in Insert(), but not in Append(). Cost: as of Append().
    CString& operator+=(const CString& rRight)
    {
        const unsigned int uSize = rRight.GetSize();
        // No characters change nothing, not even the NUL, and uMAX_SIZE of them mean the length of the text.
        const bool bPlain = uSize != 0 && uSize != uMAX_SIZE;
        if (!bPlain || !AppendInPlace(rRight.CStr(), uSize)) AppendElsewhere(rRight.CStr(), uSize);
        return *this;
    }
    CString& operator+=(const char* pszRight)
    {
        // A length that means itself spares Insert() the look for it; none, too, has a meaning of its own there.
        const size_t uSize = pszRight != nullptr ? strlen(pszRight) : 0;
        const bool bPlain = uSize != 0 && uSize < uMAX_SIZE;
        if (pszRight == nullptr || !AppendInPlace(pszRight, uSize))
            AppendElsewhere(pszRight, bPlain ? static_cast<unsigned int>(uSize) : uMAX_SIZE);
        return *this;
    }
    CString& operator+=(char cRight)
    {
        if (!AppendInPlace(cRight))
        {
            const char cHere = cRight;
            AppendElsewhere(&cHere, 1);
        }
        return *this;
    }
    /// The left text alone when both together are too long; that, or nothing, when memory runs out: Append() tells.
    CString operator+(const CString& rRight) const;
    CString operator+(const char* pszRight) const;
    CString operator+(char cRight) const;

    /// Replaces everything from uStartIndex on by formatted text: GetSize() appends, 0 replaces all. The capacity
    /// doubles, from 32 on, until it is 32,768 or more: for a longer text, call ReserveCapacity() first.
    /// After any failure but an uStartIndex above the size, the string ends at uStartIndex; only one that shares its
    /// block and finds no memory for its own stays whole.
    ///
    /// - `QV_RES_OK`: the text is in.
    /// - `QV_RES_INVALID_ARGUMENT`: uStartIndex is above the size, or the text is too long.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    /// - `QV_RES_FAIL`: vsnprintf() could not format.
    [[nodiscard]] QvResult Format(unsigned int uStartIndex, const char* pszFormat, ...)
        __attribute__((format(printf, 3, 4)));
    [[nodiscard]] QvResult Format(unsigned int uStartIndex, const char* pszFormat, va_list args)
        __attribute__((format(printf, 3, 0)));

    /// The number that a text is, or this string, as a whole: without white space, a plus sign or a prefix, whatever
    /// the locale. Integers of any type of up to 64 bits have digits and letters of either case below uBase, 2 to 36; a
    /// minus sign only those with a sign. What is read into a double or float is decimal (-1.5e-3), the nearest number;
    /// or, in letters of either case, "inf", "infinity", "nan" or "nan(...)", with a minus sign or not.
    ///
    /// - `QV_RES_OK`: *pNumber is the number.
    /// - `QV_RES_INVALID_ARGUMENT`: the text is no such number, not a single character or one too many, pNumber is
    ///   null, or there is no such base; *pNumber is as it was.
    /// - `QV_RES_FAIL`: a number it is, but beyond what the type holds: too large, or a fraction so small that only 0
    ///   is near; *pNumber is as it was.
    [[nodiscard]] static QvResult ParseNumber(STextPiece text, int64_t* pnNumber, unsigned int uBase = 10);
    [[nodiscard]] static QvResult ParseNumber(STextPiece text, uint64_t* puNumber, unsigned int uBase = 10);
    [[nodiscard]] static QvResult ParseNumber(STextPiece text, double* pNumber);
    [[nodiscard]] static QvResult ParseNumber(STextPiece text, float* pNumber);
    template <typename Integer, typename = std::enable_if_t<orvel_internal::g_bIS_NUMBER<Integer>>>
    [[nodiscard]] static QvResult ParseNumber(STextPiece text, Integer* pNumber, unsigned int uBase = 10)
    {
        orvel_internal::Widest<Integer> number;
        const QvResult res = ParseNumber(text, pNumber != nullptr ? &number : nullptr, uBase);
        if (res < 0) return res;
        const Integer narrow = static_cast<Integer>(number);
        if (narrow != number) return QV_RES_FAIL;
        *pNumber = narrow;
        return QV_RES_OK;
    }
    /// ParseNumber() of this string.
    template <typename Number>
    [[nodiscard]] QvResult ToNumber(Number* pNumber) const
    {
        return ParseNumber(*this, pNumber);
    }
    template <typename Integer>
    [[nodiscard]] QvResult ToNumber(Integer* pNumber, unsigned int uBase) const
    {
        return ParseNumber(*this, pNumber, uBase);
    }
    /// Appends a number as ParseNumber() reads it back: an integer of up to 64 bits in a base of 2 to 36, with small
    /// letters; a double or float in the fewest characters that give exactly this number again, whatever the locale.
    ///
    /// - `QV_RES_OK`: the number is in.
    /// - `QV_RES_INVALID_ARGUMENT`: there is no such base, or the string would be longer than uMAX_SIZE.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult AppendNumber(int64_t nNumber, unsigned int uBase = 10);
    [[nodiscard]] QvResult AppendNumber(uint64_t uNumber, unsigned int uBase = 10);
    [[nodiscard]] QvResult AppendNumber(double number);
    [[nodiscard]] QvResult AppendNumber(float number);
    template <typename Integer, typename = std::enable_if_t<orvel_internal::g_bIS_NUMBER<Integer>>>
    [[nodiscard]] QvResult AppendNumber(Integer number, unsigned int uBase = 10)
    {
        return AppendNumber(static_cast<orvel_internal::Widest<Integer>>(number), uBase);
    }

    /// The text, or g_szEMPTY_STRING for null.
    static const char* MakeNullSafe(const char* pszText);

    /// Module start-up and shut-down. Start-up returns QV_RES_OK.
    static QvResult InitializeCString();
    static void FinalizeCString();

protected:
    /// What copies share, laid out so in memory; the characters and their NUL go on behind the record.
    struct SStringInfo
    {
        /// 0 in the empty-string block only.
        uint16_t uRefCount;
        uint16_t uCapacity;
        uint16_t uSize;
        char szCharacters[2];
    };

    /// Drops this string's share and points at the empty block; the caller holds the mutex.
    void Release();
    /// Makes the block private. When memory runs out it stays shared, and the result is QV_RES_OUT_OF_MEMORY.
    QvResult CreateCopy();
    /// Lock and unlock ms_pmutex, for derived classes.
    static void MutexLock();
    static void MutexUnlock();
    unsigned int GetRefCount();
    void IncRefCount();
    void DecRefCount();
    alignas(CMutex) static unsigned char ms_auMutex[sizeof(CMutex)];
    static CMutex* ms_pmutex;
    static IAllocator* ms_pAllocator;
    alignas(uint16_t) static unsigned char ms_auEmptyStringInfo[sizeof(SStringInfo)];
    static SStringInfo* ms_pstEmptyStringInfo;

private:
    static char* CharactersOf(SStringInfo* pstInfo)
    {
        return reinterpret_cast<char*>(pstInfo) + offsetof(SStringInfo, szCharacters);
    }

    // The size above the capacity in one word: loading a word that has just been stored as a word costs the next append
    // less than loading 16 bits of it.
    QV_HIDDEN static uint32_t ExtentOf(const SStringInfo* pstInfo)
    {
        uint32_t uExtent;
        memcpy(&uExtent, reinterpret_cast<const char*>(pstInfo) + offsetof(SStringInfo, uCapacity), sizeof(uExtent));
        return uExtent;
    }
    QV_HIDDEN static void SetExtent(SStringInfo* pstInfo, uint32_t uExtent)
    {
        memcpy(reinterpret_cast<char*>(pstInfo) + offsetof(SStringInfo, uCapacity), &uExtent, sizeof(uExtent));
    }
    QV_HIDDEN char* Characters() { return CharactersOf(m_pstInfo); }
    // Whether the block may not be written to; no mutex is needed to see it. std::atomic_ref is not in C++17.
    QV_HIDDEN bool IsShared() const { return __atomic_load_n(&m_pstInfo->uRefCount, __ATOMIC_ACQUIRE) > 1; }
    // Whether one string has the block to itself; the empty one belongs to nobody.
    QV_HIDDEN static bool IsOnlyOne(const SStringInfo* pstInfo)
    {
        return __atomic_load_n(&pstInfo->uRefCount, __ATOMIC_ACQUIRE) == 1;
    }
    // False, with nothing changed, where the block is shared or has no room. The empty block never has.
    QV_HIDDEN bool AppendInPlace(const char* pszText, size_t uSize)
    {
        SStringInfo* const pstInfo = m_pstInfo;
        // Read once: the compiler must assume that storing a character changes them.
        const uint32_t uExtent = ExtentOf(pstInfo);
        const unsigned int uOldSize = uExtent >> 16;
        const unsigned int uRoom = (uExtent & 0xFFFF) - uOldSize;
        if (uSize > uRoom || !IsOnlyOne(pstInfo)) return false;
        char* const pszEnd = CharactersOf(pstInfo) + uOldSize;
        memmove(pszEnd, pszText, uSize);  // which may be a part of this string
        pszEnd[uSize] = '\0';
        SetExtent(pstInfo, uExtent + (static_cast<uint32_t>(uSize) << 16));
        return true;
    }
    QV_HIDDEN bool AppendInPlace(char c)
    {
        SStringInfo* const pstInfo = m_pstInfo;
        const uint32_t uExtent = ExtentOf(pstInfo);
        const unsigned int uOldSize = uExtent >> 16;
        if (uOldSize == (uExtent & 0xFFFF) || !IsOnlyOne(pstInfo)) return false;
        // The character and the NUL in one store.
        const uint16_t uText = static_cast<unsigned char>(c);
        memcpy(CharactersOf(pstInfo) + uOldSize, &uText, sizeof(uText));
        SetExtent(pstInfo, uExtent + (1u << 16));
        return true;
    }
    // The first characters as a number, which orders as they do: eight, or all of fewer. A block that holds one
    // character has room for 32.
    QV_HIDDEN static uint64_t BeginOf(const char* pszText, unsigned int uSize)
    {
        uint64_t uBegin;
        memcpy(&uBegin, pszText, sizeof(uBegin));
        uBegin = __builtin_bswap64(uBegin);
        return uSize < sizeof(uBegin) ? uBegin >> (64 - 8 * uSize) : uBegin;
    }
    // The ways that Assign() and Append() take, Append() where the text does not go into the block as it is.
    QvResult AssignText(const char* pText, size_t uTextSize);
    QvResult AppendText(const char* pText, size_t uSize);
    // Compare() for texts that do not differ early.
    int CompareRest(const char* pszOther) const;
    // The way of an append that does not stay in the block.
    void AppendElsewhere(const char* pszText, unsigned int uSize);
    QV_HIDDEN bool HoldsAddress(const char* psz) const;
    QV_HIDDEN void ShareBlockOf(const CString& rSrc);
    QV_HIDDEN void SetSize(unsigned int uSize);
    QV_HIDDEN static SStringInfo* NewBlock(unsigned int uCapacity, unsigned int uSize);
    QV_HIDDEN SStringInfo* CopyBlock(unsigned int uCapacity) const;
    QV_HIDDEN QvResult Reallocate(unsigned int uCapacity);
    QV_HIDDEN void FreeBlock();
    QV_HIDDEN void GiveUpShare();
    QV_HIDDEN void GiveUpShareLocked();
    QV_HIDDEN void TakeBlock(SStringInfo* pstInfo);
    QV_HIDDEN bool HasRoom(unsigned int uSize) const;
    QV_HIDDEN unsigned int CapacityFor(unsigned int uSize) const;
    QV_HIDDEN QvResult MakeRoom(unsigned int uSize);
    QV_HIDDEN QvResult PutFormatted(unsigned int uStartIndex, const char* pszText, unsigned int uLength);

    SStringInfo* m_pstInfo;
};

template <typename String>
QvResult CString::Split(char cSeparator, CVector<String>* pParts) const
{
    static_assert(std::is_same<String, CString>::value, "the parts are strings");
    if (pParts == nullptr) return QV_RES_INVALID_ARGUMENT;
    CVector<String>& rParts = *pParts;
    if (orvel_internal::IsWithin(this, rParts.begin(), rParts.GetSize() * sizeof(String)))
    {
        const CString strWhole(*this);
        return strWhole.GetSize() == GetSize() ? strWhole.Split(cSeparator, pParts) : QV_RES_OUT_OF_MEMORY;
    }

    unsigned int uCount = 1;
    for (const char c : *this) uCount += c == cSeparator ? 1 : 0;
    QvResult res = rParts.ReserveCapacity(uCount);
    if (res < 0) return res;
    if (rParts.GetSize() > uCount) rParts.Erase(uCount, rParts.GetSize() - uCount);
    else if (rParts.GetSize() < uCount) res = rParts.Insert(rParts.GetSize(), uCount - rParts.GetSize());
    const char* pPart = begin();
    for (unsigned int u = 0; res >= 0 && u != uCount; ++u)
    {
        const size_t uRest = static_cast<size_t>(end() - pPart);
        const void* const pvSeparator = uRest != 0 ? memchr(pPart, cSeparator, uRest) : nullptr;
        const char* const pPartEnd = pvSeparator != nullptr ? static_cast<const char*>(pvSeparator) : end();
        res = rParts[u].Assign(STextPiece(pPart, static_cast<size_t>(pPartEnd - pPart)));
        pPart = pPartEnd + 1;
    }
    if (res < 0) rParts.EraseAll();
    return res;
}

/// As the members: the left text alone when both together are too long.
QV_EXPORT CString operator+(const char* pszLeft, const CString& rRight);
QV_EXPORT CString operator+(char cLeft, const CString& rRight);

/// The other comparisons: the order of CString::Compare(), and the equality of `==`.
inline bool operator>(const CString& rLeft, const CString& rRight)
{
    return rLeft.Compare(rRight) > 0;
}
inline bool operator<=(const CString& rLeft, const CString& rRight)
{
    return rLeft.Compare(rRight) <= 0;
}
inline bool operator>=(const CString& rLeft, const CString& rRight)
{
    return rLeft.Compare(rRight) >= 0;
}
inline bool operator<(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) < 0;
}
inline bool operator>(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) > 0;
}
inline bool operator<=(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) <= 0;
}
inline bool operator>=(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) >= 0;
}
inline bool operator==(const char* pszLeft, const CString& rRight)
{
    return rRight == pszLeft;
}
inline bool operator!=(const char* pszLeft, const CString& rRight)
{
    return !(rRight == pszLeft);
}
inline bool operator<(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) > 0;
}
inline bool operator>(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) < 0;
}
inline bool operator<=(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) >= 0;
}
inline bool operator>=(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) <= 0;
}

/// Writes the size as 16 bits, then the characters without their NUL.
QV_EXPORT CMarshaler& operator<<(CMarshaler& rMarshaler, const CString& rString);
/// Reads them back. If memory runs out, the characters are skipped and the string is empty.
QV_EXPORT CMarshaler& operator>>(CMarshaler& rMarshaler, CString& rString);

// The order of strings, and of strings and texts, in one pass.
namespace orvel_internal
{
template <>
struct SThreeWayOrder<CString, CString>
{
    static int Of(const CString& rFirst, const CString& rSecond) { return rFirst.Compare(rSecond); }
};
struct SStringBeforeText
{
    static int Of(const CString& rFirst, const char* pszSecond) { return rFirst.Compare(pszSecond); }
};
struct STextBeforeString
{
    static int Of(const char* pszFirst, const CString& rSecond)
    {
        const int nOrder = rSecond.Compare(pszFirst);
        if (nOrder == 0) return 0;
        return nOrder < 0 ? 1 : -1;  // not negated: the least number has no opposite
    }
};
template <>
struct SThreeWayOrder<CString, const char*> : SStringBeforeText
{
};
template <>
struct SThreeWayOrder<CString, char*> : SStringBeforeText
{
};
template <size_t uSIZE>
struct SThreeWayOrder<CString, char[uSIZE]> : SStringBeforeText
{
};
template <>
struct SThreeWayOrder<const char*, CString> : STextBeforeString
{
};
template <>
struct SThreeWayOrder<char*, CString> : STextBeforeString
{
};
template <size_t uSIZE>
struct SThreeWayOrder<char[uSIZE], CString> : STextBeforeString
{
};
}  // namespace orvel_internal

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CString.
QV_EXPORT QvResult InitializeCString();
QV_EXPORT void FinalizeCString();

#endif
