#ifndef TESTS_SUPPORT_DERIVED_H
#define TESTS_SUPPORT_DERIVED_H

/// A class on top of one of the library: constructs and destroys it as a base object, which takes entry
/// points of its own, and counts the objects that were destroyed through their slot.
template <typename Base>
class CDerived : public Base
{
public:
    using Base::Base;
    CDerived(const Base& rSrc) : Base(rSrc) {}
    ~CDerived() override { ++ms_uDestroyed; }

    static inline unsigned int ms_uDestroyed = 0;
};

#endif
