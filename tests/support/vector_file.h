#ifndef TESTS_SUPPORT_VECTOR_FILE_H
#define TESTS_SUPPORT_VECTOR_FILE_H
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <map>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

/// One record of a file in tests/vectors. Such a file holds records set apart by blank lines; a record holds one field
/// on each line, its name and a blank before its value. Lines that begin with # are comments.
/// ```
/// # RFC 1321, section A.5
/// name message-digest
/// message "message digest"
/// digest f96b697d7cb7938d525a2f31aaf161d0
/// ```
///
/// Bytes are written as hexadecimal digits or as a text in quotation marks, with *<n> behind for n repetitions; no
/// digits at all are no bytes.
struct SVectorRecord
{
    std::map<std::string, std::string> fields;

    const std::string& Text(const std::string& rstrField) const
    {
        const auto it = fields.find(rstrField);
        if (it == fields.end()) throw std::runtime_error("a test vector lacks the field " + rstrField);
        return it->second;
    }

    std::vector<unsigned char> Bytes(const std::string& rstrField) const
    {
        const std::string& rstrValue = Text(rstrField);
        std::string strUnit = rstrValue;
        std::size_t uRepetitions = 1;
        const std::size_t uStar = rstrValue.rfind('*');
        if (uStar != std::string::npos)
        {
            strUnit = rstrValue.substr(0, uStar);
            uRepetitions = std::stoul(rstrValue.substr(uStar + 1));
        }
        std::vector<unsigned char> unit;
        if (!strUnit.empty() && strUnit.front() == '"') unit.assign(strUnit.begin() + 1, strUnit.end() - 1);
        else
        {
            for (std::size_t u = 0; u + 1 < strUnit.size(); u += 2)
            {
                unit.push_back(static_cast<unsigned char>(std::stoul(strUnit.substr(u, 2), nullptr, 16)));
            }
        }
        std::vector<unsigned char> bytes;
        bytes.reserve(unit.size() * uRepetitions);
        for (std::size_t u = 0; u < uRepetitions; ++u) bytes.insert(bytes.end(), unit.begin(), unit.end());
        return bytes;
    }
};

inline void PrintTo(const SVectorRecord& rRecord, std::ostream* pStream)
{
    *pStream << rRecord.Text("name");
}

/// The records of tests/vectors/<pszName>.
inline std::vector<SVectorRecord> ReadVectors(const char* pszName)
{
    std::ifstream file(std::string(ORVEL_SOURCE_DIR "/tests/vectors/") + pszName);
    if (!file) throw std::runtime_error(std::string("there are no test vectors ") + pszName);
    std::vector<SVectorRecord> records;
    SVectorRecord record;
    std::string strLine;
    while (std::getline(file, strLine))
    {
        if (!strLine.empty() && strLine.front() == '#') continue;
        if (strLine.empty())
        {
            if (!record.fields.empty()) records.push_back(record);
            record.fields.clear();
            continue;
        }
        const std::size_t uBlank = strLine.find(' ');
        record.fields[strLine.substr(0, uBlank)] = uBlank == std::string::npos ? "" : strLine.substr(uBlank + 1);
    }
    if (!record.fields.empty()) records.push_back(record);
    return records;
}

#endif
