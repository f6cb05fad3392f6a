#ifndef TESTS_ABI_OLD_RESULT_H
#define TESTS_ABI_OLD_RESULT_H

using QvResult = int;
constexpr QvResult QV_RES_OK = 0;
constexpr QvResult QV_RES_FAIL = static_cast<QvResult>(0x80000001);
constexpr QvResult QV_RES_INVALID_STATE = static_cast<QvResult>(0x80000002);
constexpr QvResult QV_RES_INVALID_ARGUMENT = static_cast<QvResult>(0x80000003);
constexpr QvResult QV_RES_OUT_OF_MEMORY = static_cast<QvResult>(0x80000007);
constexpr QvResult QV_RES_ALREADY_EXISTS = static_cast<QvResult>(0x80000009);
constexpr QvResult QV_RES_TSD_KEY_NOT_FOUND = static_cast<QvResult>(0x8000841A);
constexpr QvResult QV_RES_THREAD_JOIN_SELF = static_cast<QvResult>(0x8000841B);
constexpr QvResult QV_RES_NO_INTERFACE = static_cast<QvResult>(0x80008422);
constexpr QvResult QV_RES_CLASS_NOT_REGISTERED = static_cast<QvResult>(0x80008424);

#endif
