#include "examples/journal/escape.h"

#include <cstdint>
#include <cstdio>

namespace
{
struct SForm
{
    unsigned char uLeadMask;
    unsigned char uLead;
    unsigned int uSize;
    uint32_t uFirst;  // below it a shorter form is due
};
constexpr SForm g_aFORMS[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

struct SRange
{
    uint32_t uFirst;
    uint32_t uLast;
};
// Control characters, separators of lines and paragraphs, characters that turn the direction of writing, and code
// points that are no characters.
constexpr SRange g_aREFUSED[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x200E, 0x200F},      {0x2028, 0x202E},
                                 {0x2066, 0x2069}, {0xD800, 0xDFFF}, {0x110000, UINT32_MAX}};

bool IsHarmless(uint32_t uCharacter)
{
    if (uCharacter == '\t') return true;
    for (const SRange& rRange : g_aREFUSED)
    {
        if (uCharacter >= rRange.uFirst && uCharacter <= rRange.uLast) return false;
    }
    return true;
}

// How many bytes the character at puText takes if it can be printed as it is, 0 if not.
unsigned int HarmlessSize(const unsigned char* puText, unsigned int uLeft)
{
    for (const SForm& rForm : g_aFORMS)
    {
        if ((puText[0] & rForm.uLeadMask) != rForm.uLead) continue;
        if (rForm.uSize > uLeft) return 0;
        uint32_t uCharacter = puText[0] & static_cast<unsigned char>(~rForm.uLeadMask);
        for (unsigned int u = 1; u < rForm.uSize; ++u)
        {
            if ((puText[u] & 0xC0) != 0x80) return 0;
            uCharacter = uCharacter << 6 | (puText[u] & 0x3F);
        }
        return uCharacter >= rForm.uFirst && IsHarmless(uCharacter) ? rForm.uSize : 0;
    }
    return 0;
}
}  // namespace

void PrintEscaped(const char* pcText, unsigned int uSize)
{
    const auto* puText = reinterpret_cast<const unsigned char*>(pcText);
    for (unsigned int u = 0; u < uSize;)
    {
        const unsigned int uHarmless = HarmlessSize(puText + u, uSize - u);
        if (uHarmless == 0) std::printf("\\x%02x", puText[u]);
        else if (puText[u] == '\\') std::fputs("\\\\", stdout);
        else std::fwrite(puText + u, 1, uHarmless, stdout);
        u += uHarmless == 0 ? 1 : uHarmless;
    }
}
