#ifndef TESTS_ABI_ECOM_CLS_INFO_H
#define TESTS_ABI_ECOM_CLS_INFO_H
#include "tests/abi/old_result.h"

struct SEComGuid;
class IEComUnknown;
class CEComUnknown;

struct SEComClsInfo
{
    const SEComGuid* m_pClsid;
    QvResult (*m_pfnCreateInstance)(IEComUnknown* pOuterUnknown, CEComUnknown** ppCEComUnknown);
};

#endif
