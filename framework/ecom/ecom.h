#ifndef FRAMEWORK_ECOM_ECOM_H
#define FRAMEWORK_ECOM_ECOM_H
#include "framework/basic/vector.h"
#include "framework/ecom/guid.h"
#include "framework/ecom/unknown.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// The registry of component classes: an identifier, and the function that makes an object of the class.
/// ```
/// QV_RETURN_IF_FAILED(RegisterECom(&CLSID_Circle, CreateEComObject<CCircle>));
/// CEComPtr<IShape> pShape;
/// QV_RETURN_IF_FAILED(pShape.CreateInstance(&CLSID_Circle));
/// ```
///
/// framework/ecom/component.h shows how to write a component.
///
/// - **Ownership:** The registry keeps pointers to the identifiers that are registered. Objects belong to those who
///   hold references to them.
/// - **Threads:** All functions, from any thread. Creation functions run under the registry's recursive mutex: they may
///   create and register, but must not wait for another thread that does.
/// - **Lifetime:** Between the start-up and the shut-down of the framework, which forgets all registrations.
///   Registering, unregistering and creating outside it end the process. Objects may live on.
/// - **Cost:** Registration and creation search linearly, in the order of registration.

/// Makes an object with a reference count of 1, aggregated into *pOuterUnknown unless that is null.
typedef QvResult (*PFNCreateEComInstance)(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown);

/// An entry of the registry.
struct QV_EXPORT SEComClsInfo
{
    const SEComGuid* pClsid;                  ///< Of which class.
    PFNCreateEComInstance pfnCreateInstance;  ///< What makes an object.
};

/// Adds a class.
///
/// - `QV_RES_OK`: the class is registered.
/// - `QV_RES_INVALID_ARGUMENT`: a null argument.
/// - `QV_RES_ALREADY_EXISTS`: a class of an equal identifier is registered, and stays.
/// - `QV_RES_OUT_OF_MEMORY`: the registry cannot grow.
[[nodiscard]] QV_EXPORT QvResult RegisterECom(const SEComGuid* pClsid,
                                              QvResult (*pfnCreateInstance)(IEComUnknown* pOuterUnknown,
                                                                            CEComUnknown** ppCEComUnknown));

/// Removes a class. Its objects live on.
///
/// - `QV_RES_OK`: the class is forgotten.
/// - `QV_RES_INVALID_ARGUMENT`: pClsid is null.
/// - `QV_RES_INVALID_STATE`: no such class is registered.
QV_EXPORT QvResult UnregisterECom(const SEComGuid* pClsid);

/// Makes an object and gives one of its interfaces, which holds the only reference. With an outer object, of which it
/// becomes a part, the interface must be IID_IEComUnknown: it is the non-delegating unknown. The outer object does
/// not hand it out, but asks it for the interfaces that it offers as its own.
///
/// - `QV_RES_OK`: *ppInterface is the interface; after a failure it is null.
/// - `QV_RES_INVALID_ARGUMENT`: pClsid, pIid or ppInterface is null.
/// - `QV_RES_NO_INTERFACE`: the object lacks the interface; or pIid is not IID_IEComUnknown, with an outer object.
/// - `QV_RES_CLASS_NOT_REGISTERED`: no such class is registered.
/// - `QV_RES_FAIL`: the creation function reported success, but gave no object.
/// - Every failure of the creation function, of InitializeInstance() and of the query.
[[nodiscard]] QV_EXPORT QvResult CreateEComInstance(const SEComGuid* pClsid, IEComUnknown* pOuterUnknown,
                                                    const SEComGuid* pIid, void** ppInterface);

/// Whether two interfaces belong to the same object; false when either is null. An object must answer a query for
/// IID_IEComUnknown, always with the same pointer.
QV_EXPORT bool IsEqualECom(IEComUnknown* pUnknown1, IEComUnknown* pUnknown2);

/// Module start-up and shut-down, called by CFrameworkInitializer. Start-up returns QV_RES_OK.
QV_EXPORT QvResult InitializeECom();
QV_EXPORT void FinalizeECom();

extern template class CVector<SEComClsInfo>;

#endif
