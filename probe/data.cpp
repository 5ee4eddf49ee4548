// The public header, where the texts are constants, stays out: here they are filled in when the module is loaded.
#include "probe/data.h"

#include <cstdint>

#define EXPORTED __attribute__((visibility("default")))

extern "C" {
EXPORTED char kestrune_version[64];
EXPORTED char _file[256];  // NOLINT(bugprone-reserved-identifier): the names that hosts look up
EXPORTED char _date[32];   // NOLINT(bugprone-reserved-identifier)
EXPORTED char _time[32];   // NOLINT(bugprone-reserved-identifier)
EXPORTED uint64_t g_SPGlobal;
EXPORTED uint32_t g_bRepeatEvent;
EXPORTED uint32_t g_uiUpdateInterval;
EXPORTED char AppLogList[256];
EXPORTED uint32_t selEnable;
}

namespace probe {
namespace {

const Data DATA[DATA_COUNT] = {
    {"kestrune_version", kestrune_version, sizeof(kestrune_version), true},
    {"_file", _file, sizeof(_file), true},
    {"_date", _date, sizeof(_date), true},
    {"_time", _time, sizeof(_time), true},
    {"g_SPGlobal", &g_SPGlobal, sizeof(g_SPGlobal), false},
    {"g_bRepeatEvent", &g_bRepeatEvent, sizeof(g_bRepeatEvent), false},
    {"g_uiUpdateInterval", &g_uiUpdateInterval, sizeof(g_uiUpdateInterval), false},
    {"AppLogList", AppLogList, sizeof(AppLogList), true},
    {"selEnable", &selEnable, sizeof(selEnable), false},
};

}  // namespace

const Data (&exportedData)[DATA_COUNT] = DATA;

}  // namespace probe
