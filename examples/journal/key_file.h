#ifndef EXAMPLES_JOURNAL_KEY_FILE_H
#define EXAMPLES_JOURNAL_KEY_FILE_H
#include <cstdint>

/// The secret of a journal; as a file, these bytes and nothing else, which only the owner may read.
struct SKey
{
    uint8_t auBytes[32];
};

/// Refuses a file of another size, or one that anybody but its owner may use.
SKey LoadKey(const char* pszPath);
/// Makes the file, with a new key, if there is none.
SKey LoadOrMakeKey(const char* pszPath);

#endif
