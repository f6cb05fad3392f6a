#ifndef FRAMEWORK_GOOD_H
#define FRAMEWORK_GOOD_H

/// The text of the header.

/// All that the rules allow; no tool complains about any of it.
/// ```
/// CGood good;
///
/// | a   | b |
/// ```
///
/// - **Ownership:** Its own,
///   on two lines, with `code` and a < b.
///   - `QV_RES_OK`: in a list of its own.
class CGood
{
public:
    /// Its numbers.
    enum ENumber
    {
        eONE = 1,
        eTWO = 2
    };
    /// Of these some have a text, so all have.
    enum ELetter
    {
        eA = 1,  ///< The first.
        /// The second.
        eB = 2
    };
    /// Two numbers.
    struct SPair
    {
        int nFirst;
        int nSecond;
    };

    /// Empty.
    CGood();
    CGood(const CGood&) = delete;
    CGood& operator=(const CGood&) = delete;
    virtual ~CGood();

    /// Overloads share this.
    ///
    /// - `QV_RES_OK`: it worked.
    int Get();
    int Get(int n) { return n; }

    /// So do comparisons.
    bool operator==(const CGood& rOther) const;
    bool operator!=(const CGood& rOther) const;

    /// And Second(), because it is named.
    void First();
    void Second();

    /// A friend is told of as a member is.
    friend bool operator<(const CGood& rFirst, const CGood& rSecond);
    friend bool operator>(const CGood& rFirst, const CGood& rSecond)
    {
        if (rFirst == rSecond) return false;
        return rSecond < rFirst;
    }

    // What the containers of the standard library have, they explain.
    using value_type = int;
    int size() const;

    /// Needs a text where it is declared first.
    virtual void Override();

private:
    void Untold();
};

/// Another one.
class [[nodiscard]] CBetter : public CGood
{
    static_assert(sizeof(CGood) != 0, "a class in whose body a statement takes more than a line");

public:
    CBetter(const CBetter&) = delete;
    void Override() override;
};

/// Start-up and shut-down.
int InitializeGood();
void FinalizeGood();

/// Declared once, however often it is made.
template <typename T>
T Templated(T value);
extern template int Templated<int>(int);

namespace orvel_internal
{
class CUntold
{
public:
    void Untold();
};
}  // namespace orvel_internal

#endif
