#ifndef FRAMEWORK_KERNEL_VERSION_H
#define FRAMEWORK_KERNEL_VERSION_H
#include "framework/kernel/export.h"

/// A version number of four parts, each 0 to 255, most significant first: major.minor.release.build.
///
/// - **Ownership:** A value of four bytes.
/// - **Threads:** No locking: one thread at a time per object.
/// - **Lifetime:** Works before the start-up of the framework and after its shut-down.
class QV_EXPORT CVersion
{
public:
    /// 0.0.0.0
    CVersion();
    CVersion(const CVersion& rOther);
    /// SetStr(); the parts are indeterminate when it refuses the text. Where that can happen, construct without a text
    /// and call SetStr().
    CVersion(const char* pszVersion);
    /// Not inline, like the copy constructor: so a version is not passed in registers.
    ~CVersion();  // NOLINT(performance-trivially-destructible)
    CVersion& operator=(const CVersion& rOther);

    /// The first part.
    unsigned char GetMajor() const;
    /// The second part.
    unsigned char GetMinor() const;
    /// The third part.
    unsigned char GetRelease() const;
    /// The fourth part.
    unsigned char GetBuild() const;

    /// Sets the first part; returns this version, as the other three do.
    CVersion& SetMajor(unsigned char uMajor);
    /// Sets the second part.
    CVersion& SetMinor(unsigned char uMinor);
    /// Sets the third part.
    CVersion& SetRelease(unsigned char uRelease);
    /// Sets the fourth part.
    CVersion& SetBuild(unsigned char uBuild);

    /// Writes the dotted text, at most 15 characters, as QvSnprintf() would: a result equal to uSize means that the
    /// text was cut and has no terminator.
    int GetStr(char* pszBuf, unsigned int uSize) const;

    /// Reads four decimal numbers with dots between them. White space before each number, a sign, and anything behind
    /// the fourth are accepted as sscanf("%u.%u.%u.%u") does: "1.2.3.4-beta" is 1.2.3.4.
    /// False, and nothing changes, for a null text, for fewer numbers, and for one outside 0 to 255.
    bool SetStr(const char* pszVersion);

    /// Compares part by part, the first one first.
    bool operator==(const CVersion& rOther) const;
    bool operator!=(const CVersion& rOther) const;
    bool operator<(const CVersion& rOther) const;
    bool operator<=(const CVersion& rOther) const;
    bool operator>(const CVersion& rOther) const;
    bool operator>=(const CVersion& rOther) const;

    /// Whether minimum <= this <= maximum.
    bool IsInRange(CVersion minimum, CVersion maximum) const;

private:
    unsigned char m_uMajor;
    unsigned char m_uMinor;
    unsigned char m_uRelease;
    unsigned char m_uBuild;
};

#endif
