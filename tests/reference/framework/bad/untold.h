#ifndef FRAMEWORK_BAD_UNTOLD_H
#define FRAMEWORK_BAD_UNTOLD_H

class CUntold  // complaint: CUntold has no text
{
public:
    enum EUntold  // complaint: CUntold::EUntold has no text
    {
        eA,
        eB
    };
    /// One of these has a text, and so all should.
    enum EHalf  // complaint: CUntold::EHalf::eNO has no text
    {
        eYES,  ///< Yes.
        eNO
    };

    CUntold();     // complaint: CUntold::CUntold() has no text
    void Plain();  // complaint: CUntold::Plain() has no text
    /// What is not an overload does not share this.
    void Told();
    void Other();               // complaint: CUntold::Other() has no text
    void Told(int n) = delete;  // complaint: CUntold::Told(int n)=delete has no text

    /// Neither does what follows another declaration.
    void Before(int n);
    using Name = int;     // complaint: CUntold::Name has no text
    void Before(long n);  // complaint: CUntold::Before(long n) has no text
    void Between();       // complaint: CUntold::Between() has no text
    void Before(char c);  // complaint: CUntold::Before(char c) has no text

    /// An empty line ends what shares a comment.
    void Apart();

    void Apart(int n);  // complaint: CUntold::Apart(int n) has no text
    int m_nUntold;      // complaint: CUntold::m_nUntold has no text
};

int Untold(int n);       // complaint: Untold(int n) has no text
typedef int UntoldType;  // complaint: UntoldType has no text
extern int g_nUntold;    // complaint: g_nUntold has no text
#define UNTOLD 1         // complaint: UNTOLD has no text

#endif
