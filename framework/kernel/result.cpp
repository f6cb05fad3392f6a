#include "framework/kernel/result.h"

#include "framework/kernel/unused_parameter.h"

namespace
{
constexpr char g_szNoMessage[] = "";

uint32_t SeverityClass(QvResult res)
{
    return static_cast<uint32_t>(res) >> 30;
}
}  // namespace

QvResult QvRGetWorstOf(QvResult resFirst, QvResult resSecond)
{
    return SeverityClass(resFirst) < SeverityClass(resSecond) ? resSecond : resFirst;
}

const char* QvResultGetMsgStr(QvResult res)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(res);
    return g_szNoMessage;
}

QvResult QvResultInspect(QvResult res, EQvPackageId ePackageId)
{
    QV_REMOVE_UNUSED_FUNCTION_PARAM_WARNING(ePackageId);
    return res;
}

QvResult InitializeResult()
{
    return QV_RES_OK;
}

void FinalizeResult()
{
}
