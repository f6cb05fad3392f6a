#ifndef TESTS_SUPPORT_SCRATCH_DIRECTORY_H
#define TESTS_SUPPORT_SCRATCH_DIRECTORY_H
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>

/// A new directory below the system's temporary one; with the object it goes, and all that is in it.
class CScratchDirectory
{
public:
    /// The directory's name begins with pszName.
    explicit CScratchDirectory(const char* pszName)
    {
        std::string name = (std::filesystem::temp_directory_path() / pszName).string() + ".XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
            throw std::filesystem::filesystem_error("mkdtemp", name, {errno, std::generic_category()});
        m_path = std::filesystem::canonical(name);  // whatever links lead there
    }
    ~CScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CScratchDirectory(const CScratchDirectory&) = delete;
    CScratchDirectory& operator=(const CScratchDirectory&) = delete;

    const std::filesystem::path& GetPath() const { return m_path; }

private:
    std::filesystem::path m_path;
};

#endif
