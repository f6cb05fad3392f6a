// The journal's reader on changed journals, and on anything else.
// Sources: examples/journal/files.cpp examples/journal/journal_format.cpp examples/journal/journal_reader.cpp
// Sources: examples/journal/refusal.cpp
// Options: -max_len=4096
//
// The first byte of the input chooses what the rest is:
//   even  a journal as it lies in the file. It is intact under the key only if it is, byte for byte, what writing its
//         records anew makes of them; as nobody without the key can make another one, those are the seeds.
//   odd   a recipe: how many records, what they hold, and how the journal that was made of them is changed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "examples/journal/files.h"
#include "examples/journal/journal_format.h"
#include "examples/journal/journal_reader.h"
#include "examples/journal/refusal.h"
#include "framework/framework.h"
#include "fuzz/check.h"
#include "fuzz/input.h"

namespace
{
using CBytes = std::vector<uint8_t>;

uint64_t NumberOf(CFuzzInput& rInput, unsigned int uBytes)
{
    uint64_t uNumber = 0;
    for (unsigned int u = 0; u < uBytes; ++u) uNumber = uNumber << 8 | rInput.Byte();
    return uNumber;
}

// The same in every run, so that seeds stay intact.
void SetKey(SKey& rKey)
{
    for (size_t u = 0; u < sizeof(rKey.auBytes); ++u) rKey.auBytes[u] = static_cast<uint8_t>(u);
}

// Writes what a CJournalWriter would.
class CMaker
{
public:
    CMaker(const SJournalId& rId, const SKey& rKey) : m_rKey(rKey)
    {
        const SHeader header = MakeHeader(rId, rKey);
        m_mac = header.tail.mac;
        Add(&header, sizeof(header));
    }
    void AddRecord(const SRecord& rRecord)
    {
        m_frame.SetRecord(rRecord, m_mac, m_rKey);
        AddFrame();
        ++m_uCount;
    }
    CBytes Close()
    {
        m_frame.SetClosing(m_uCount, m_mac, m_rKey);
        AddFrame();
        return m_bytes;
    }
    // Where the header and every frame end.
    const std::vector<size_t>& GetCuts() const { return m_cuts; }

private:
    void AddFrame()
    {
        Add(m_frame.GetBytes().begin(), m_frame.GetBytes().GetSize());
        m_mac = m_frame.GetMac();
    }
    void Add(const void* pvData, size_t uSize)
    {
        const auto* const puData = static_cast<const uint8_t*>(pvData);
        m_bytes.insert(m_bytes.end(), puData, puData + uSize);
        m_cuts.push_back(m_bytes.size());
    }

    const SKey& m_rKey;
    CFrame m_frame;
    SMac m_mac;
    uint64_t m_uCount = 0;
    CBytes m_bytes;
    std::vector<size_t> m_cuts;
};

// A stream over bytes in a block that ends where they end.
class CMemoryFile
{
public:
    explicit CMemoryFile(const CBytes& rBytes) : m_copy(rBytes)
    {
        m_pFile = m_copy.empty() ? std::fopen("/dev/null", "rbe") : fmemopen(m_copy.data(), m_copy.size(), "rb");
        Require(m_pFile != nullptr, "a stream can be opened");
    }
    ~CMemoryFile() { std::fclose(m_pFile); }
    CMemoryFile(const CMemoryFile&) = delete;
    CMemoryFile& operator=(const CMemoryFile&) = delete;
    std::FILE* Get() const { return m_pFile; }

private:
    CBytes m_copy;
    std::FILE* m_pFile;
};

// Reads all and goes back to every record. Returns the bytes that its records make under the key, nothing if refused.
std::optional<CBytes> Read(const CBytes& rBytes, const SKey* pKey)
{
    struct SPlace
    {
        uint64_t uOffset;
        SDigest digest;
    };
    SKey key;
    SetKey(key);
    const CMemoryFile memory(rBytes);
    CInputFile file(memory.Get(), "journal");
    std::vector<SPlace> places;
    try
    {
        CJournalReader reader(file, pKey);
        SJournalId id;
        std::memcpy(id.auBytes, reader.GetHeader().auJournalId, sizeof(id.auBytes));
        CMaker maker(id, key);
        for (uint64_t uOffset = reader.GetOffset(); reader.Next(); uOffset = reader.GetOffset())
        {
            maker.AddRecord(reader.GetRecord());
            places.push_back({uOffset, reader.GetFrame().GetDigest()});
            Require(reader.GetCount() == places.size(), "records are counted");
        }
        for (size_t u = places.size(); u-- != 0;)
        {
            Require(reader.ReadAgain(u + 1, places[u].uOffset, places[u].digest).uNumber == u + 1, "it is the same");
        }
        return maker.Close();
    }
    catch (const CRefusal& rRefusal)
    {
        Require(rRefusal.GetReason().GetSize() != 0, "a refusal has a reason");
        return std::nullopt;
    }
}

void TryBytes(const CBytes& rBytes)
{
    SKey key;
    SetKey(key);
    const std::optional<CBytes> made = Read(rBytes, &key);
    Require(!made || *made == rBytes, "what is intact is what was written");
    const bool bReadable = Read(rBytes, nullptr).has_value();
    Require(!made || bReadable, "what is intact can be read without the key");
    SKey other;
    Require(!Read(rBytes, &other), "nothing is intact under another key");
}

CBytes MakeJournal(CFuzzInput& rInput, const SKey& rKey, std::vector<size_t>& rCuts)
{
    SJournalId id = {};
    id.auBytes[0] = rInput.Byte();
    CMaker maker(id, rKey);
    SRecord record;
    for (unsigned int uLeft = rInput.Byte() % 8; uLeft != 0; --uLeft)
    {
        const unsigned int uShape = rInput.Byte();
        ++record.uNumber;
        record.uTime = NumberOf(rInput, uShape % 9);
        record.nonce.reset();
        if ((uShape & 0x80) != 0) record.nonce.emplace().auBytes[15] = rInput.Byte();
        const std::string strText(static_cast<size_t>(NumberOf(rInput, (uShape & 0x40) != 0 ? 2 : 1) % 4096),
                                  static_cast<char>(rInput.Byte()));
        SetText(record.strText, strText.data(), static_cast<unsigned int>(strText.size()));
        maker.AddRecord(record);
    }
    const CBytes bytes = maker.Close();
    rCuts = maker.GetCuts();
    return bytes;
}

// One part of a journal: its begin and its end.
struct SPart
{
    size_t uBegin;
    size_t uEnd;
};

SPart PartOf(CFuzzInput& rInput, const std::vector<size_t>& rCuts)
{
    const size_t uPart = rInput.Byte() % rCuts.size();
    return {uPart == 0 ? 0 : rCuts[uPart - 1], rCuts[uPart]};
}

// What who has no key can make fit: the checksum of a part.
void FixCrc(CBytes& rBytes, const SPart& rPart)
{
    if (rPart.uEnd > rBytes.size()) return;
    uint32_t uCrc = 0;
    CCrc crc;
    Check(crc.Begin(CCrc::eCRC32));
    Check(crc.Update(rBytes.data() + rPart.uBegin, static_cast<unsigned int>(rPart.uEnd - rPart.uBegin - 4)));
    Check(crc.End(&uCrc));
    std::memcpy(rBytes.data() + rPart.uEnd - 4, &uCrc, sizeof(uCrc));
}

void Change(CBytes& rBytes, CFuzzInput& rInput, const std::vector<size_t>& rCuts, const CBytes& rOther)
{
    const unsigned int uKind = rInput.Byte() % 8;
    const SPart part = PartOf(rInput, rCuts);
    const size_t uAt = rBytes.empty() ? 0 : NumberOf(rInput, 3) % rBytes.size();
    const auto at = [&](size_t u) { return rBytes.begin() + static_cast<ptrdiff_t>(std::min(u, rBytes.size())); };
    const CBytes copy(at(part.uBegin), at(part.uEnd));
    switch (uKind)
    {
        case 0:
            if (!rBytes.empty()) rBytes[uAt] ^= rInput.Byte();
            break;
        case 1: FixCrc(rBytes, part); break;
        case 2: rBytes.resize(uAt); break;
        case 3: rBytes.erase(at(part.uBegin), at(part.uEnd)); break;
        case 4: rBytes.insert(at(part.uEnd), copy.begin(), copy.end()); break;
        case 5:
        {
            const SPart target = PartOf(rInput, rCuts);
            rBytes.insert(at(target.uBegin), copy.begin(), copy.end());
            break;
        }
        case 6: rBytes.insert(at(uAt), rInput.Byte()); break;
        default:
        {
            // The same place of another journal under the same key.
            const size_t uEnd = std::min(part.uEnd, rOther.size());
            for (size_t u = part.uBegin; u < std::min(uEnd, rBytes.size()); ++u) rBytes[u] = rOther[u];
        }
    }
}

void TryRecipe(CFuzzInput input)
{
    SKey key;
    SetKey(key);
    std::vector<size_t> cuts;
    CFuzzInput again = input;
    const CBytes original = MakeJournal(input, key, cuts);
    // The same records in a journal of another number.
    std::vector<size_t> otherCuts;
    CBytes otherRecipe(1, static_cast<uint8_t>(again.Byte() + 1));
    while (!again.IsSpent()) otherRecipe.push_back(again.Byte());
    CFuzzInput otherInput(otherRecipe.data(), otherRecipe.size());
    const CBytes other = MakeJournal(otherInput, key, otherCuts);

    const std::optional<CBytes> made = Read(original, &key);
    Require(made && *made == original, "what was written is intact");
    CBytes changed = original;
    while (!input.IsSpent()) Change(changed, input, cuts, other);
    Require(changed == other || Read(changed, &key).has_value() == (changed == original), "every change is found");
    TryBytes(changed);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* puData, size_t uSize)
{
    if (uSize == 0) return 0;
    if (puData[0] % 2 == 0) TryBytes(CBytes(puData + 1, puData + uSize));
    else TryRecipe(CFuzzInput(puData + 1, uSize - 1));
    return 0;
}
