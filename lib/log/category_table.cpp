/// The log categories: one row per component of the maker's products, and the mask of each id.
/// "network" and "disk" stand twice: the storage products that log there address them by row.
#include <string>

#include "log/log.h"

constinit std::atomic<u32> kr_log_category_masks[KR_LOG_SLOT_COUNT] = {};

constexpr kr_log_category kr_log_categories[KR_LOG_CATEGORY_COUNT] = {
    {KR_TEXT("other"), 1, 0x3},        {KR_TEXT("main"), 2, 0x7},
    {KR_TEXT("disk"), 3, 0x3},         {KR_TEXT("volume"), 4, 0x3},
    {KR_TEXT("printf"), 5, 0x1},       {KR_TEXT("network"), 6, 0x3},
    {KR_TEXT("settings"), 7, 0x3},     {KR_TEXT("rpc"), 8, 0x3},
    {KR_TEXT("xml"), 9, 0x1},          {KR_TEXT("scheduler"), 10, 0x3},
    {KR_TEXT("backup"), 11, 0x7},      {KR_TEXT("restore"), 12, 0x7},
    {KR_TEXT("catalog"), 13, 0x3},     {KR_TEXT("media"), 14, 0x3},
    {KR_TEXT("tape"), 15, 0x3},        {KR_TEXT("snapshot"), 16, 0x3},
    {KR_TEXT("replication"), 17, 0x7}, {KR_TEXT("cluster"), 18, 0x3},
    {KR_TEXT("failover"), 19, 0x7},    {KR_TEXT("cache"), 20, 0x1},
    {KR_TEXT("metadata"), 21, 0x1},    {KR_TEXT("filesystem"), 22, 0x3},
    {KR_TEXT("filter"), 23, 0x3},      {KR_TEXT("driver"), 24, 0x3},
    {KR_TEXT("network"), 6, 0x3},      {KR_TEXT("service"), 25, 0x7},
    {KR_TEXT("memory"), 26, 0x1},      {KR_TEXT("thread"), 27, 0x1},
    {KR_TEXT("timer"), 28, 0x1},       {KR_TEXT("queue"), 29, 0x1},
    {KR_TEXT("transport"), 30, 0x3},   {KR_TEXT("socket"), 31, 0x3},
    {KR_TEXT("tls"), 32, 0x3},         {KR_TEXT("certificate"), 33, 0x3},
    {KR_TEXT("license"), 34, 0x7},     {KR_TEXT("user"), 35, 0x3},
    {KR_TEXT("group"), 36, 0x3},       {KR_TEXT("access"), 37, 0x3},
    {KR_TEXT("audit"), 38, 0x7},       {KR_TEXT("session"), 39, 0x3},
    {KR_TEXT("login"), 40, 0x7},       {KR_TEXT("registry"), 41, 0x3},
    {KR_TEXT("wmi"), 42, 0x3},         {KR_TEXT("event"), 43, 0x3},
    {KR_TEXT("mail"), 44, 0x3},        {KR_TEXT("snmp"), 45, 0x3},
    {KR_TEXT("web"), 46, 0x3},         {KR_TEXT("script"), 47, 0x3},
    {KR_TEXT("project"), 48, 0x7},     {KR_TEXT("template"), 49, 0x3},
    {KR_TEXT("report"), 50, 0x3},      {KR_TEXT("statistics"), 51, 0x1},
    {KR_TEXT("compression"), 52, 0x1}, {KR_TEXT("encryption"), 53, 0x3},
    {KR_TEXT("hash"), 54, 0x1},        {KR_TEXT("index"), 55, 0x1},
    {KR_TEXT("search"), 56, 0x1},      {KR_TEXT("import"), 57, 0x3},
    {KR_TEXT("export"), 58, 0x3},      {KR_TEXT("migration"), 59, 0x7},
    {KR_TEXT("upgrade"), 60, 0x7},     {KR_TEXT("installer"), 61, 0x7},
    {KR_TEXT("update"), 62, 0x3},      {KR_TEXT("monitor"), 63, 0x3},
    {KR_TEXT("alarm"), 64, 0x7},       {KR_TEXT("console"), 65, 0x3},
    {KR_TEXT("agent"), 66, 0x3},       {KR_TEXT("proxy"), 67, 0x3},
    {KR_TEXT("gateway"), 68, 0x3},     {KR_TEXT("partition"), 69, 0x3},
    {KR_TEXT("raid"), 70, 0x3},        {KR_TEXT("iscsi"), 71, 0x3},
    {KR_TEXT("fibre"), 72, 0x3},       {KR_TEXT("usb"), 73, 0x3},
    {KR_TEXT("boot"), 74, 0x3},        {KR_TEXT("firmware"), 75, 0x3},
    {KR_TEXT("power"), 76, 0x3},       {KR_TEXT("sensor"), 77, 0x0},
    {KR_TEXT("trace"), 78, 0x0},       {KR_TEXT("test"), 79, 0xF},
    {KR_TEXT("debugger"), 80, 0x0},    {KR_TEXT("private"), 81, 0x0},
    {KR_TEXT("disk"), 3, 0x3},
};

namespace {

/// Every id is a slot, every default is made of level bits, and equal names agree.
consteval bool rows_are_sound() {
    for (const kr_log_category& row : kr_log_categories) {
        if (row.id == 0 || row.id >= KR_LOG_SLOT_COUNT || row.default_mask > 0xF) {
            return false;
        }
        for (const kr_log_category& other : kr_log_categories) {
            if ((row.id == other.id) !=
                (std::char_traits<kr_char>::compare(
                     row.name, other.name, std::char_traits<kr_char>::length(row.name) + 1) == 0)) {
                return false;
            }
            if (row.id == other.id && row.default_mask != other.default_mask) {
                return false;
            }
        }
    }
    return true;
}
static_assert(rows_are_sound());

} // namespace
