#include "framework/kernel/result.h"

namespace
{
constexpr char g_szNO_MESSAGE[] = "";

uint32_t SeverityClass(QvResult res)
{
    return static_cast<uint32_t>(res) >> 30;
}
}  // namespace

QvResult QvRGetWorstOf(QvResult resFirst, QvResult resSecond)
{
    return SeverityClass(resFirst) < SeverityClass(resSecond) ? resSecond : resFirst;
}

const char* QvResultGetMsgStr(QvResult)
{
    return g_szNO_MESSAGE;
}

const char* QvResultName(QvResult res)
{
    switch (res)
    {
        case QV_RES_OK: return "QV_RES_OK";
        case QV_RES_FAIL: return "QV_RES_FAIL";
        case QV_RES_INVALID_STATE: return "QV_RES_INVALID_STATE";
        case QV_RES_INVALID_ARGUMENT: return "QV_RES_INVALID_ARGUMENT";
        case QV_RES_OUT_OF_MEMORY: return "QV_RES_OUT_OF_MEMORY";
        case QV_RES_ALREADY_EXISTS: return "QV_RES_ALREADY_EXISTS";
        case QV_RES_THREAD_ATTRIBUTES: return "QV_RES_THREAD_ATTRIBUTES";
        case QV_RES_THREAD_CREATE_FAILED: return "QV_RES_THREAD_CREATE_FAILED";
        case QV_RES_TSD_UNAVAILABLE: return "QV_RES_TSD_UNAVAILABLE";
        case QV_RES_TSD_KEY_NOT_FOUND: return "QV_RES_TSD_KEY_NOT_FOUND";
        case QV_RES_THREAD_JOIN_SELF: return "QV_RES_THREAD_JOIN_SELF";
        case QV_RES_NO_INTERFACE: return "QV_RES_NO_INTERFACE";
        case QV_RES_CLASS_NOT_REGISTERED: return "QV_RES_CLASS_NOT_REGISTERED";
        default: return "unknown result";
    }
}

QvResult QvResultInspect(QvResult res, EQvPackageId)
{
    return res;
}

QvResult InitializeResult()
{
    return QV_RES_OK;
}

void FinalizeResult()
{
}
