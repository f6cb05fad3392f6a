#ifndef TESTS_SUPPORT_CONTAINER_ELEMENTS_H
#define TESTS_SUPPORT_CONTAINER_ELEMENTS_H
/// An element that counts its lives, and notices when it is copied from or destroyed where none lives.
class CCounted
{
public:
    explicit CCounted(int nValue = 0) : m_nValue(nValue), m_pSelf(this) { ++ms_nLive; }
    CCounted(const CCounted& rSrc) : m_nValue(rSrc.GetValue()), m_pSelf(this) { ++ms_nLive; }
    CCounted& operator=(const CCounted& rSrc)
    {
        m_nValue = rSrc.GetValue();
        return *this;
    }
    ~CCounted()
    {
        GetValue();
        m_pSelf = nullptr;
        --ms_nLive;
    }

    int GetValue() const
    {
        if (m_pSelf != this) ++ms_nStray;
        return m_nValue;
    }
    friend bool operator<(const CCounted& rFirst, const CCounted& rSecond)
    {
        return rFirst.GetValue() < rSecond.GetValue();
    }

    static inline int ms_nLive = 0;
    static inline int ms_nStray = 0;

private:
    int m_nValue;
    const CCounted* m_pSelf;
};

#endif
