#ifndef FRAMEWORK_ECOM_COMPONENT_H
#define FRAMEWORK_ECOM_COMPONENT_H
#include <new>
#include <type_traits>

#include "framework/ecom/ecom.h"
#include "framework/ecom/guid.h"
#include "framework/ecom/unknown.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

/// Helpers that make a component a matter of a few lines; components can be used and written without them.
/// ```
/// class IShape : public IEComUnknown
/// {
///     QV_ECOM_INTERFACE(IShape, IEComUnknown)
///     virtual double GetArea() const = 0;
/// };
///
/// class CCircle : public CEComComponent<IShape, IPrintable>
/// {
/// public:
///     using CEComComponent::CEComComponent;
///     double GetArea() const override;
///     void Print() const override;
/// };
///
/// QV_ECOM_GUID(CLSID_Circle, "example.Circle");
/// RegisterECom(&CLSID_Circle, CreateEComObject<CCircle>);
/// ```
///
/// An object that has a circle as a part of itself (aggregation) and offers its interfaces as its own:
/// ```
/// class CFrame : public CEComComponent<IFrame>
/// {
/// public:
///     using CEComComponent::CEComComponent;
///     QvResult InitializeInstance() override
///     {
///         return m_pInner.CreateInstance(&CLSID_Circle, GetControllingUnknown());
///     }
///     QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override
///     {
///         return QueryWithInner(m_pInner.Get(), pIid, ppInterface);
///     }
/// private:
///     CEComPtr<IEComUnknown> m_pInner;
/// };
/// ```

/// Begins the body of an interface class Name that extends Base; its public operations follow. GetIid() gives the
/// identifier: the name and its NUL.
#define QV_ECOM_INTERFACE(Name, Base)                                      \
protected:                                                                 \
    ~Name() = default;                                                     \
                                                                           \
public:                                                                    \
    using TExtended = Base;                                                \
    static const SEComGuid* GetIid()                                       \
    {                                                                      \
        static constexpr unsigned char s_auNAME[] = #Name;                 \
        static constexpr SEComGuid s_stIID = {sizeof(s_auNAME), s_auNAME}; \
        return &s_stIID;                                                   \
    }

/// Holds a reference to an interface, or none.
///
/// - **Ownership:** One reference: taken when copied, dropped at the end.
/// - **Threads:** One object is used by one thread at a time; copies may be used in different threads.
template <typename Interface>
class CEComPtr
{
public:
    CEComPtr() = default;
    /// Takes a reference of its own.
    explicit CEComPtr(Interface* pInterface) : m_pInterface(pInterface)
    {
        if (m_pInterface != nullptr) m_pInterface->AddIfRef();
    }
    CEComPtr(const CEComPtr& rSrc) : CEComPtr(rSrc.m_pInterface) {}
    /// Takes over the reference of rSrc, which is null then.
    CEComPtr(CEComPtr&& rSrc) noexcept : m_pInterface(rSrc.Detach()) {}
    ~CEComPtr()
    {
        if (m_pInterface != nullptr) m_pInterface->ReleaseIfRef();
    }
    /// Holds what pSrc holds, and drops what it held itself.
    CEComPtr& operator=(CEComPtr pSrc) noexcept
    {
        std::swap(m_pInterface, pSrc.m_pInterface);
        return *this;
    }

    /// The interface, null if there is none; still held.
    Interface* Get() const { return m_pInterface; }
    /// Calls an operation of the interface, which must be there.
    Interface* operator->() const { return m_pInterface; }
    /// The interface, which must be there.
    Interface& operator*() const { return *m_pInterface; }
    /// Whether an interface is held.
    explicit operator bool() const { return m_pInterface != nullptr; }
    /// Drops the reference.
    void Reset() { *this = CEComPtr(); }

    /// Takes over a reference that is counted already.
    static CEComPtr Attached(Interface* pInterface)
    {
        CEComPtr ptr;
        ptr.m_pInterface = pInterface;
        return ptr;
    }
    /// Gives the reference away, still counted; this is null then.
    Interface* Detach()
    {
        Interface* const pInterface = m_pInterface;
        m_pInterface = nullptr;
        return pInterface;
    }

    /// Makes an object and holds its interface. Results as of CreateEComInstance(); this is null after a failure.
    [[nodiscard]] QvResult CreateInstance(const SEComGuid* pClsid, IEComUnknown* pOuterUnknown = nullptr)
    {
        void* pvInterface = nullptr;
        const QvResult res = CreateEComInstance(pClsid, pOuterUnknown, Interface::GetIid(), &pvInterface);
        *this = Attached(static_cast<Interface*>(pvInterface));
        return res;
    }
    /// Holds this interface of the object that pUnknown belongs to. Results as of IEComUnknown::QueryIf(); this is null
    /// after a failure. QV_RES_INVALID_ARGUMENT also when pUnknown is null.
    [[nodiscard]] QvResult QueryFrom(IEComUnknown* pUnknown)
    {
        void* pvInterface = nullptr;
        const QvResult res =
            pUnknown != nullptr ? pUnknown->QueryIf(Interface::GetIid(), &pvInterface) : QV_RES_INVALID_ARGUMENT;
        *this = Attached(static_cast<Interface*>(pvInterface));
        return res;
    }

private:
    Interface* m_pInterface = nullptr;
};

/// The non-delegating unknown of a component, as a separate IEComUnknown.
class CEComInnerUnknown final : public IEComUnknown
{
public:
    /// Part of *pComponent.
    explicit CEComInnerUnknown(CEComUnknown* pComponent) : m_pComponent(pComponent) {}

    [[nodiscard]] QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        return m_pComponent->NonDelegatingQueryIf(pIid, ppInterface);
    }
    unsigned int AddIfRef() override { return m_pComponent->NonDelegatingAddIfRef(); }
    unsigned int ReleaseIfRef() override { return m_pComponent->NonDelegatingReleaseIfRef(); }

private:
    CEComUnknown* m_pComponent;
};

/// A component with interfaces that were declared with QV_ECOM_INTERFACE. It answers for them, for the interfaces that
/// they extend, and for IID_IEComUnknown, and can be aggregated.
///
/// - **Ownership:** An inner object counts no reference to its outer object, which holds it. An outer object that keeps
///   an interface of its inner object besides its IEComUnknown drops the reference to that interface at once: it counts
///   for the outer object itself.
/// - **Threads:** As CEComUnknown.
template <typename... Interfaces>
class CEComComponent : public CEComUnknown, public Interfaces...
{
    static_assert(sizeof...(Interfaces) != 0, "a component has an interface");

public:
    /// With an outer object that is not null it is a part of that. The count of references is 1.
    explicit CEComComponent(IEComUnknown* pOuterUnknown)
        : CEComUnknown(pOuterUnknown), m_inner(this), m_pOuterUnknown(pOuterUnknown)
    {
    }

    /// As in IEComUnknown, like AddIfRef() and ReleaseIfRef(): of the outer object, if there is one.
    [[nodiscard]] QvResult QueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        if (m_pOuterUnknown != nullptr) return m_pOuterUnknown->QueryIf(pIid, ppInterface);
        return this->NonDelegatingQueryIf(pIid, ppInterface);
    }
    unsigned int AddIfRef() override
    {
        return m_pOuterUnknown != nullptr ? m_pOuterUnknown->AddIfRef() : this->NonDelegatingAddIfRef();
    }
    unsigned int ReleaseIfRef() override
    {
        return m_pOuterUnknown != nullptr ? m_pOuterUnknown->ReleaseIfRef() : this->NonDelegatingReleaseIfRef();
    }

    /// Answers for Interfaces, what they extend, and IID_IEComUnknown. Results as of IEComUnknown::QueryIf().
    [[nodiscard]] QvResult NonDelegatingQueryIf(const SEComGuid* pIid, void** ppInterface) override
    {
        if (ppInterface == nullptr || pIid == nullptr) return CEComUnknown::NonDelegatingQueryIf(pIid, ppInterface);
        const bool bFound = (Offer<Interfaces>(static_cast<Interfaces*>(this), pIid, ppInterface) || ...) ||
                            Offer<IEComUnknown>(&m_inner, pIid, ppInterface);
        return bFound ? QV_RES_OK : CEComUnknown::NonDelegatingQueryIf(pIid, ppInterface);
    }

protected:
    /// The unknown of the outer object, or of this object if it is not aggregated. Pass it to inner objects as their
    /// outer unknown.
    IEComUnknown* GetControllingUnknown() { return m_pOuterUnknown != nullptr ? m_pOuterUnknown : &m_inner; }

    /// For NonDelegatingQueryIf() of an object with an inner one: asks the inner one for interfaces that this object
    /// lacks.
    QvResult QueryWithInner(IEComUnknown* pInner, const SEComGuid* pIid, void** ppInterface)
    {
        const QvResult res = CEComComponent::NonDelegatingQueryIf(pIid, ppInterface);
        return res == QV_RES_NO_INTERFACE && pInner != nullptr ? pInner->QueryIf(pIid, ppInterface) : res;
    }

private:
    template <typename Interface>
    static bool Offer(Interface* pInterface, const SEComGuid* pIid, void** ppInterface)
    {
        if (IsEqualEComIID(pIid, Interface::GetIid()))
        {
            *ppInterface = pInterface;
            pInterface->AddIfRef();
            return true;
        }
        if constexpr (!std::is_same<Interface, IEComUnknown>::value)
        {
            using TExtended = typename Interface::TExtended;
            if constexpr (!std::is_same<TExtended, IEComUnknown>::value)
                return Offer<TExtended>(pInterface, pIid, ppInterface);
        }
        return false;
    }

    CEComInnerUnknown m_inner;
    IEComUnknown* m_pOuterUnknown;
};

/// The creation function of a component class, which is constructed from its outer unknown.
///
/// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the object.
template <typename Component>
QvResult CreateEComObject(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown)
{
    *ppCEComUnknown = new (std::nothrow) Component(pOuterUnknown);
    return *ppCEComUnknown != nullptr ? QV_RES_OK : QV_RES_OUT_OF_MEMORY;
}

#endif
