/// requests.cpp: the requests of a host, with the two calls that every list takes.
#include "standin/requests.h"

#include <algorithm>
#include <cstdio>
#include <ratio>
#include <vector>

#include "probe/trace.h"
#include "standin/failure.h"
#include "standin/host/items.h"
#include "standin/host/messages.h"
#include "standin/logfiles.h"
#include "standin/output/logtime.h"
#include "standin/output/selfields.h"
#include "standin/output/selrows.h"
#include "standin/output/terminal.h"

namespace standin {
namespace {

constexpr uint64_t START_SETTINGS = uint64_t{5000} << 32;

/// How often a list is asked for that grew between the two calls.
constexpr int ATTEMPTS = 5;

/// Room beyond the count, for records that come between the two calls, and for a text log's last line where it lacks
/// its newline: it is not counted, but delivered all the same.
constexpr uint32_t SPARE = 64;

[[noreturn]] void Refused(const char* request) {
  const std::string reason = LastError();
  throw Failure(REQUEST_FAILED, std::string("the module refused ") + request + (reason.empty() ? "" : ": ") + reason);
}

bool Request(const Module& module, uint32_t operation, const char* name, void* arg1, void* arg2, void* arg3) {
  const probe::Request request = probe::ReadRequest(operation, name, arg1, arg2, arg3);
  probe::TracedCall traced("SPConfig", request);
  const int32_t result = module.SPConfig(operation, name, arg1, arg2, arg3);
  traced.End(result, request);
  return result != 0;
}

/// `ask(count, records)` sends the request: without records for the count, then with room for `count` of them; it
/// leaves in `count` what the module told. The second call is refused when there are more by then.
template <typename Record, typename Ask>
std::vector<Record> Fetch(const char* request, Ask ask) {
  for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
    uint32_t count = 0;
    if (!ask(count, static_cast<Record*>(nullptr))) Refused(request);
    if (count == 0) return {};
    count += SPARE;
    std::vector<Record> records(count);
    if (ask(count, records.data())) {
      records.resize(std::min<size_t>(count, records.size()));
      return records;
    }
  }
  Refused(request);
}

std::vector<Item> ReadProperties(const Module& module, tagIDV identifier) {
  return Fetch<Item>(SP_PROPERTY, [&](uint32_t& count, Item* items) {
    return Request(module, SP_OP_GET, SP_PROPERTY, &identifier, &count, items);
  });
}

std::vector<tagCONFIGGROUP> ReadGroups(const Module& module) {
  auto groups = Fetch<tagCONFIGGROUP>(SP_CONFIGGROUPS, [&](uint32_t& count, tagCONFIGGROUP* records) {
    return Request(module, SP_OP_GET, SP_CONFIGGROUPS, &count, records, nullptr);
  });
  groups.erase(std::remove_if(groups.begin(), groups.end(),
                              [](const auto& group) { return group.wParentGroupID != CONFIG_GROUP_LOGS; }),
               groups.end());
  return groups;
}

std::vector<Item> ReadItems(const Module& module, uint16_t id, const std::optional<Lines>& lines) {
  tagIDV identifier = Group(id);
  if (!lines) {
    return Fetch<Item>(SP_CONFIGITEM, [&](uint32_t& count, Item* items) {
      return Request(module, SP_OP_GET, SP_CONFIGITEM, &identifier, &count, items);
    });
  }
  return Fetch<Item>(SP_CONFIGITEMEX, [&](uint32_t& count, Item* items) {
    tagITEMRANGE range{lines->begin, lines->end, 0, count};
    const bool done = Request(module, SP_OP_GET, SP_CONFIGITEMEX, &identifier, &range, items);
    count = range.dwCount;
    return done;
  });
}

int64_t Number(const tagVARIANT* value) { return value != nullptr && value->vt == VT_I4 ? value->value.llVal : -1; }

std::string Text(const Item& item, uint32_t id) {
  const tagVARIANT* value = item.Find(id);
  if (value != nullptr && value->vt == VT_ERROR) return "(out of memory)";
  const bool isText = value != nullptr && value->vt == VT_BSTR && value->value.bstrVal != nullptr;
  return isText ? ToUTF8(value->value.bstrVal) : "";
}

std::string Origin(const Item& item) {
  const int64_t origin = Number(item.Find(CE_ORIGIN));
  if (origin == 0) return FROM_CONTROLLER;
  return origin == 1 ? FROM_ARCHIVE : std::to_string(origin);
}

std::string Hexadecimal(uint64_t word, int digits) {
  std::array<char, 24> text{};
  std::snprintf(text.data(), text.size(), "0x%0*llX", digits, static_cast<unsigned long long>(word));
  return text.data();
}

/// When the files of a text log were last written, in seconds since 1970; 0 when they are not there.
int64_t LastWritten(const Module& module, uint16_t id) {
  int64_t last = 0;
  for (const std::string& file : FilesOf(id, *module.AppLogList)) {
    last = std::max<int64_t>(last, LookAt(file).written / std::nano::den);
  }
  return last;
}

Table ReadTextLog(const Module& module, uint16_t id, const std::optional<Lines>& lines) {
  Table table{TEXT_COLUMNS, {}};
  const int64_t written = LastWritten(module, id);
  for (const Item& item : ReadItems(module, id, lines)) {
    Row row{{{"log", LogTitle(id)},
             {"date", Text(item, CE_DATE)},
             {"time", Text(item, CE_TIME)},
             {"host", Text(item, CE_HOST)},
             {"source", Text(item, CE_SOURCE)},
             {"message", Text(item, CE_MESSAGE)},
             {"timestamp", nullptr}}};
    row.time = InferTime(row.fields["date"], row.fields["time"], written);
    if (row.time) row.fields["timestamp"] = FormatLocal(*row.time);
    table.rows.push_back(std::move(row));
  }
  return table;
}

Table ReadSEL(const Module& module, const std::optional<Lines>& lines, const RecordKeeper& keeper) {
  Table table{SEL_COLUMNS, {}};
  const std::vector<SELRecord> archive = ReadArchive();
  for (const Item& item : ReadItems(module, LOG_SEL, lines)) {
    table.rows.push_back({{{"log", LogTitle(LOG_SEL)},
                           {"date", Text(item, CE_DATE)},
                           {"time", Text(item, CE_TIME)},
                           {"sensor", Text(item, CE_SENSOR)},
                           {"description", Text(item, CE_MESSAGE)},
                           {"source", Origin(item)}}});
  }
  // An archive that changed meanwhile may or may not be the one that the module has read.
  const bool isSettled = ReadArchive() == archive;
  AddRecords(table.rows, lines ? lines->begin : 1, lines ? lines->end : SIZE_MAX, keeper.NewestFirst(),
             isSettled ? archive : std::vector<SELRecord>());
  return table;
}

}  // namespace

const std::vector<Column> TEXT_COLUMNS{
    {"log", false, false}, {"timestamp", false, false}, {"date"}, {"time"}, {"host"}, {"source"}, {"message"}};

const std::vector<Column> SEL_COLUMNS = [] {
  std::vector<Column> columns{
      {"log", false, false}, {"date"}, {"time"}, {"sensor"}, {"description", true, true, true}, {"source"}};
  for (const char* field : SEL_FIELDS) columns.push_back({field, std::string_view(field) == "direction"});
  return columns;
}();

void Start(const Module& module) {
  uint32_t out = 0;
  probe::TracedCall traced("SPInitialize");
  traced.Add("settings", START_SETTINGS);
  const int32_t result = module.SPInitialize(&START_SETTINGS, &out);
  traced.End(result);
  if (result == 0) {
    throw Failure(REQUEST_FAILED, "the module refused to start: " + LastError());
  }
}

Row DescribeLog(const LogName& log, int64_t records) {
  return {{{"name", log.name}, {"id", Hexadecimal(log.id, 2)}, {"records", records}}};
}

Table ListLogs(const Module& module) {
  const std::vector<tagCONFIGGROUP> groups = ReadGroups(module);
  const std::vector<Item> properties = ReadProperties(module, Type(CONFIG_TYPE_LOG));  // all logs
  Table table{{{"name"}, {"id"}, {"records"}}, {}};
  for (size_t i = 0; i < LOGS.size(); ++i) {
    const LogName& log = LOGS[i];
    const auto isLog = [&](const tagCONFIGGROUP& group) { return group.wGroupID == log.id; };
    const auto isNumber = [&](const Item& item) { return item.dwIndex == i + 1; };
    if (std::none_of(groups.begin(), groups.end(), isLog)) continue;
    const auto property = std::find_if(properties.begin(), properties.end(), isNumber);
    table.rows.push_back(DescribeLog(log, property == properties.end() ? -1 : Number(property->Find(CE_RECORDS))));
  }
  return table;
}

bool OffersLog(const Module& module, uint16_t id) {
  const std::vector<tagCONFIGGROUP> groups = ReadGroups(module);
  return std::any_of(groups.begin(), groups.end(), [&](const auto& group) { return group.wGroupID == id; });
}

std::string LogTitle(uint16_t id) {
  const auto* const log = std::find_if(LOGS.begin(), LOGS.end(), [id](const LogName& each) { return each.id == id; });
  return log == LOGS.end() ? "" : log->name;
}

uint32_t CountRecords(const Module& module, uint16_t id) {
  tagIDV identifier = Group(id);
  uint32_t count = 0;
  if (!Request(module, SP_OP_GET, SP_CONFIGITEM, &identifier, &count, nullptr)) Refused(SP_CONFIGITEM);
  return count;
}

Table ReadLog(const Module& module, uint16_t id, const std::optional<Lines>& lines, const RecordKeeper& keeper) {
  return id == LOG_SEL ? ReadSEL(module, lines, keeper) : ReadTextLog(module, id, lines);
}

void WriteMessage(const Module& module, uint32_t level, const std::wstring& text) {
  // The property of a log, filled in and sent back; which log it is makes no difference.
  tagIDV identifier = Group(LOG_MESSAGES);
  std::vector<Item> items = ReadProperties(module, identifier);
  for (Item& item : items) {
    if (tagVARIANT* value = item.Find(CE_LEVEL)) value->value.llVal = level;
    if (tagVARIANT* value = item.Find(CE_TEXT)) {
      ReleaseVariant(*value);
      value->value.bstrVal = new wchar_t[text.size() + 1];
      value->vt = VT_BSTR;
      std::copy_n(text.c_str(), text.size() + 1, value->value.bstrVal);
    }
  }
  auto count = static_cast<uint32_t>(items.size());
  if (!Request(module, SP_OP_SET, SP_PROPERTY, &identifier, &count, items.data())) Refused(SP_PROPERTY);
}

Table ReadSettings(const Module& module) {
  uint64_t word = 0;
  if (!Request(module, SP_OP_GET, SP_GBLPROPERTY, &word, nullptr, nullptr)) Refused(SP_GBLPROPERTY);
  return {{{"setting"}, {"value"}},
          {{{{"setting", "word"}, {"value", Hexadecimal(word, 16)}}},
           {{{"setting", "repeat-event"}, {"value", *module.g_bRepeatEvent != 0 ? "on" : "off"}}},
           {{{"setting", "update-interval"}, {"value", std::to_string(*module.g_uiUpdateInterval)}}}}};
}

void WriteSettings(const Module& module, uint64_t word) {
  if (!Request(module, SP_OP_SET, SP_GBLPROPERTY, &word, nullptr, nullptr)) Refused(SP_GBLPROPERTY);
}

void DumpControllerLog(const Module& module) {
  probe::TracedCall traced("ShowBMCSELLogDebug");
  module.ShowBMCSELLogDebug();
  traced.End();
}

}  // namespace standin
