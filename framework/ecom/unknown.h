#ifndef FRAMEWORK_ECOM_UNKNOWN_H
#define FRAMEWORK_ECOM_UNKNOWN_H
#include "framework/ecom/guid.h"
#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"

/// "IEComUnknown" and its NUL.
extern QV_EXPORT const SEComGuid IID_IEComUnknown;

/// What every component interface extends: it leads to the object's other interfaces and counts who uses the object.
///
/// In an aggregated object these forward to the outer object, else to the object's own non-delegating operations.
/// CEComComponent implements them so.
class QV_EXPORT IEComUnknown
{
public:
    /// The identifier of the interface; see QV_ECOM_INTERFACE for those of others.
    static const SEComGuid* GetIid() { return &IID_IEComUnknown; }

    /// Gives an interface, which counts as used until its ReleaseIfRef().
    ///
    /// - `QV_RES_OK`: *ppInterface is the interface.
    /// - `QV_RES_INVALID_ARGUMENT`: a null argument.
    /// - `QV_RES_NO_INTERFACE`: the object has none of that identifier; *ppInterface is null.
    [[nodiscard]] virtual QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) = 0;
    /// Adds a user; returns how many there are then.
    virtual unsigned int AddIfRef() = 0;
    /// Removes a user; returns how many are left. The object ends when the last one goes.
    virtual unsigned int ReleaseIfRef() = 0;

protected:
    ~IEComUnknown() = default;
};

/// The operations of the object itself, whether it is part of another one or not. The first three slots are those of
/// IEComUnknown, so that a non-delegating unknown can be called through a pointer to that.
class QV_EXPORT IEComNonDelegatingUnknown
{
public:
    /// As IEComUnknown::QueryIf().
    [[nodiscard]] virtual QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) = 0;
    /// As IEComUnknown::AddIfRef().
    virtual unsigned int NonDelegatingAddIfRef() = 0;
    /// As IEComUnknown::ReleaseIfRef().
    virtual unsigned int NonDelegatingReleaseIfRef() = 0;
    virtual ~IEComNonDelegatingUnknown();
};

/// The base of all components: the count of references and the query for the base interface. CEComComponent does the
/// rest of what a component needs.
/// ```
/// new -> count 1 -> InitializeInstance() -> in use -> count 0 -> UninitializeInstance() -> delete
/// ```
///
/// - **Ownership:** The object deletes itself when its last reference goes: create it with new.
/// - **Threads:** Counting, from any thread. The count changes under the object's mutex, the last release included;
///   only a process of one thread leaves the lock out. So a cache may know objects without counting references to them:
///   it adds a reference under a lock of its own, which UninitializeInstance() takes to remove the entry; a result of 1
///   tells it that the object is ending. The object ends in the thread that drops the last reference, under no lock.
/// - **Source:** Aggregation follows the usual component object models.
class QV_EXPORT CEComUnknown : public IEComNonDelegatingUnknown
{
public:
    /// The count is 1. pOuterUnknown is not kept here: a class that can be aggregated keeps it for its delegating
    /// operations.
    explicit CEComUnknown(IEComUnknown* pOuterUnknown);
    ~CEComUnknown() override;
    CEComUnknown(const CEComUnknown&) = delete;
    CEComUnknown& operator=(const CEComUnknown&) = delete;

    /// Knows IID_IEComUnknown, for which it gives this object as its IEComNonDelegatingUnknown. A derived class answers
    /// for its own interfaces and leaves the others to this.
    ///
    /// - `QV_RES_OK`: *ppInterface is this object, with one reference more.
    /// - `QV_RES_INVALID_ARGUMENT`: a null argument.
    /// - `QV_RES_NO_INTERFACE`: any other identifier; *ppInterface is null.
    [[nodiscard]] QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override;
    unsigned int NonDelegatingAddIfRef() override;
    /// At 0, ends the object (see UninitializeInstance()) and returns 0.
    unsigned int NonDelegatingReleaseIfRef() override;

    /// The second half of construction, which can fail: called once by CreateEComInstance(). After a failure, that
    /// destroys the object and returns the same result. The base returns QV_RES_OK.
    virtual QvResult InitializeInstance();
    /// Called when the last reference is gone. The base takes one reference, so that pairs taken and dropped from here
    /// on do not end the object again, and sets *pbDeleteThis to true. An override calls the base first; it may then
    /// set false to keep the object, which has that one reference.
    virtual void UninitializeInstance(bool* pbDeleteThis);

    /// How many references there are now; another thread may change it at any time.
    unsigned int GetReferenceCount() const;

private:
    CMutex m_mutex;
    unsigned int m_uReferenceCount;
};

#endif
