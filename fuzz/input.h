#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// Takes what a target needs from the bytes of an input, front to back. The same bytes always give the same values;
/// beyond the end there are zeros and empty runs, so that every input is a valid one and a longer one goes on from it.
class CFuzzInput
{
public:
    CFuzzInput(const std::uint8_t* puData, std::size_t uSize) : m_puData(puData), m_uLeft(uSize) {}

    bool IsSpent() const { return m_uLeft == 0; }
    std::size_t GetLeft() const { return m_uLeft; }

    std::uint8_t Byte()
    {
        if (m_uLeft == 0) return 0;
        --m_uLeft;
        return *m_puData++;
    }

    bool Flag() { return (Byte() & 1) != 0; }

    /// A number of any value, least significant byte first.
    template <class T>
    T Number()
    {
        static_assert(std::is_integral_v<T>);
        std::uint64_t uValue = 0;
        for (unsigned int u = 0; u < sizeof(T); ++u) uValue |= static_cast<std::uint64_t>(Byte()) << 8 * u;
        return static_cast<T>(uValue);
    }

    /// A number below uLimit, which must not be 0. Costs one byte for limits up to 256, two or four beyond.
    unsigned int Below(std::size_t uLimit)
    {
        if (uLimit <= 1) return 0;
        const std::uint32_t uValue = uLimit <= 256     ? Byte()
                                     : uLimit <= 65536 ? Number<std::uint16_t>()
                                                       : Number<std::uint32_t>();
        return static_cast<unsigned int>(uValue % uLimit);
    }

    /// A number from uMin to uMax.
    unsigned int Between(unsigned int uMin, unsigned int uMax)
    {
        return uMin + Below(static_cast<std::size_t>(uMax - uMin) + 1);
    }

    /// A number that is often a small one or one at an edge of its type, as sizes, indexes and bounds like to be.
    template <class T>
    T Edgy()
    {
        const std::uint8_t uKind = Byte();
        if (uKind < 192) return static_cast<T>(uKind % 48);
        if (uKind < 208) return static_cast<T>(~T{0} - static_cast<T>(uKind - 192));
        if (uKind < 224) return static_cast<T>((std::uint64_t{1} << (sizeof(T) * 8 - 1)) - 8 + (uKind - 208u));
        return Number<T>();
    }

    /// Exactly as many bytes, the last ones zeros if the input ends; and up to uMax, the count taken from the input.
    std::vector<unsigned char> Exactly(std::size_t uSize)
    {
        std::vector<unsigned char> bytes(uSize);
        const std::size_t uTaken = uSize < m_uLeft ? uSize : m_uLeft;
        if (uTaken != 0) std::memcpy(bytes.data(), m_puData, uTaken);
        Skip(uTaken);
        return bytes;
    }
    std::vector<unsigned char> Bytes(std::size_t uMax) { return Exactly(BelowOrEnd(uMax)); }

    /// A text without NUL: up to uMax characters, the count taken from the input, ending at the first NUL.
    std::string Text(std::size_t uMax)
    {
        const std::vector<unsigned char> bytes = Bytes(uMax);
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return std::string(text.substr(0, text.find('\0')));
    }

    /// All that is left.
    std::vector<unsigned char> Rest() { return Exactly(m_uLeft); }

    /// All that is left up to the first NUL.
    std::string RestText()
    {
        const std::string_view text(reinterpret_cast<const char*>(m_puData), m_uLeft);
        Skip(m_uLeft);
        return std::string(text.substr(0, text.find('\0')));
    }

private:
    std::size_t BelowOrEnd(std::size_t uMax)
    {
        const std::size_t uWanted = Below(uMax + 1);
        return uWanted < m_uLeft ? uWanted : m_uLeft;
    }

    void Skip(std::size_t uCount)
    {
        m_puData += uCount;
        m_uLeft -= uCount;
    }

    const std::uint8_t* m_puData;
    std::size_t m_uLeft;
};

#endif
