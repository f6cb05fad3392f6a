#include "framework/interop/standard.h"

#include <chrono>
#include <memory_resource>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "framework/basic/list.h"
#include "framework/basic/vector.h"
#include "tests/clients/client.h"

namespace
{
void Texts()
{
    Promised<std::string_view (*)(const CString&)>(&QvViewOf);
    Promised<std::string_view (*)(const CBlob&)>(&QvViewOf);
    Promised<QvResult (*)(CString&, std::string_view)>(&QvAssign);
    Promised<QvResult (*)(CString&, std::string_view)>(&QvAppend);
    Promised<QvResult (*)(CBlob&, std::string_view)>(&QvAssign);
    Promised<QvResult (*)(CBlob&, std::string_view)>(&QvAppend);
    CString strName;
    CHECK(QvAssign(strName, "Ada") == QV_RES_OK);
    CHECK(QvAppend(strName, std::string(" Lovelace")) == QV_RES_OK);
    CHECK(QvViewOf(strName) == "Ada Lovelace");
    CHECK(QvAssign(strName, std::string(65536, 'a')) == QV_RES_INVALID_ARGUMENT && strName == "Ada Lovelace");
    CBlob blob;
    CHECK(QvAssign(blob, QvViewOf(strName)) == QV_RES_OK && QvAppend(blob, "!") == QV_RES_OK);
    CHECK(QvViewOf(blob) == "Ada Lovelace!");
#if __cplusplus >= 202002L
    const std::vector<unsigned char> bytes = {1, 2, 3};
    CHECK(QvAssign(blob, bytes) == QV_RES_OK && QvAppend(blob, bytes) == QV_RES_OK);
    QvSpanOf(blob)[5] = 9;
    const CBlob& rConst = blob;
    CHECK(QvSpanOf(rConst).size() == 6 && QvSpanOf(rConst)[5] == 9);
#endif
}

void Times()
{
    using namespace std::chrono;
    using Milliseconds = time_point<system_clock, duration<std::int64_t, std::milli>>;
    Promised<Milliseconds (*)(const CTime&)>(&QvTimePointOf);
    CTime time;
    CHECK(QvAssign(time, system_clock::from_time_t(1000000000)) == QV_RES_OK);
    const system_clock::time_point moment = QvTimePointOf(time);
    CHECK(system_clock::to_time_t(moment) == 1000000000);
    CHECK(QvAssign(time, Milliseconds(milliseconds(-1))) == QV_RES_OK);
    CHECK(QvTimePointOf(time).time_since_epoch().count() == -1);
    Promised<QvResult (*)()>(&QvSetClockFromSystem);
    CHECK(QvSetClockFromSystem() == QV_RES_OK);
    unsigned int uJulianDay, uTimeMs;
    CHECK(CTime().GetJulianDateAndTime(uJulianDay, uTimeMs, true) && uJulianDay > 2460000);
}

void Results()
{
    Promised<const std::error_category& (*)() noexcept>(&QvResultCategory);
    Promised<std::error_code (*)(QvResult) noexcept>(&QvErrorCodeOf);
    const std::error_code error = QvErrorCodeOf(QV_RES_OUT_OF_MEMORY);
    CHECK(error && error == std::errc::not_enough_memory && error.category() == QvResultCategory());
    CHECK(error.message() == "QV_RES_OUT_OF_MEMORY" && !QvErrorCodeOf(QV_RES_OK));
}

void Memory()
{
    std::pmr::monotonic_buffer_resource buffer;
    CResourceAllocator allocator(&buffer);
    CHECK(allocator.GetResource() == &buffer);
    CHECK(CResourceAllocator().GetResource() == std::pmr::get_default_resource());
    {
        CVector<int> vector(&allocator);
        CHECK(vector.Append(1) == QV_RES_OK && *vector.GetAt(0) == 1);
    }
    CAllocatorResource resource(CDefaultAllocator::Instance());
    CHECK(resource.GetAllocator() == CDefaultAllocator::Instance());
    CHECK(resource == CAllocatorResource());
    std::pmr::vector<std::pmr::string> names(&resource);
    names.emplace_back("a name that does not fit into the object itself");
    CHECK(names.back().get_allocator().resource() == &resource);
}

void KeysAndOutput()
{
    std::unordered_map<CString, int> counts;
    ++counts["one"];
    ++counts["one"];
    CHECK(counts.size() == 1 && counts[CString("one")] == 2);
    CHECK(std::hash<CBlob>()(CBlob()) == std::hash<CBlob>()(CBlob()));
    CHECK(std::hash<CVersion>()(CVersion("1.2.3.4")) == std::hash<CVersion>()(CVersion("1.2.3.4")));
    CTime time;
    time.SetDateAndTime(2026, 11, 22, 11, 46, 7, 250, true);
    CHECK(std::hash<CTime>()(time) == std::hash<CTime>()(CTime(time)));
    std::ostringstream stream;
    stream << CString("now") << ' ' << time << ' ' << CVersion("1.2.3.4");
    CHECK(stream.str() == "now 2026-11-22T11:46:07.250Z 1.2.3.4");
}
}  // namespace

void StandardClient()
{
    Texts();
    Times();
    Results();
    Memory();
    KeysAndOutput();
}
