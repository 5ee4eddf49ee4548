/// requests.cpp: the requests of a host, with the two calls that every list takes.
#include "standin/requests.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "probe/trace.h"
#include "standin/failure.h"
#include "standin/items.h"
#include "standin/messages.h"

namespace standin {
namespace {

constexpr uint64_t START_SETTINGS = uint64_t{5000} << 32;

/// How often a list is asked for that grew between the two calls.
constexpr int ATTEMPTS = 5;

/// Room beyond the count: a log's last line may lack its newline; it is not counted, but delivered all the same.
constexpr uint32_t SPARE = 1;

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

std::wstring Text(const Item& item, uint32_t id) {
  const tagVARIANT* value = item.Find(id);
  if (value != nullptr && value->vt == VT_ERROR) return L"(out of memory)";
  return value != nullptr && value->vt == VT_BSTR && value->value.bstrVal != nullptr ? value->value.bstrVal : L"";
}

std::wstring Origin(const Item& item) {
  const int64_t origin = Number(item.Find(CE_ORIGIN));
  if (origin == 0) return L"controller";
  return origin == 1 ? L"archive" : std::to_wstring(origin);
}

std::wstring Hexadecimal(uint64_t word, int digits) {
  std::array<wchar_t, 24> text{};
  std::swprintf(text.data(), text.size(), L"0x%0*llX", digits, static_cast<unsigned long long>(word));
  return text.data();
}

}  // namespace

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

Table ListLogs(const Module& module) {
  const std::vector<tagCONFIGGROUP> groups = ReadGroups(module);
  const std::vector<Item> properties = ReadProperties(module, Type(CONFIG_TYPE_LOG));  // all logs
  Table table{{{"name"}, {"id"}, {"records", true}}, {}};
  for (size_t i = 0; i < LOGS.size(); ++i) {
    const LogName& log = LOGS[i];
    const auto isLog = [&](const tagCONFIGGROUP& group) { return group.wGroupID == log.id; };
    const auto isNumber = [&](const Item& item) { return item.dwIndex == i + 1; };
    if (std::none_of(groups.begin(), groups.end(), isLog)) continue;
    const auto property = std::find_if(properties.begin(), properties.end(), isNumber);
    const std::string name = log.name;
    table.rows.push_back({{name.begin(), name.end()},
                          Hexadecimal(log.id, 2),
                          std::to_wstring(property == properties.end() ? -1 : Number(property->Find(CE_RECORDS)))});
  }
  return table;
}

bool OffersLog(const Module& module, uint16_t id) {
  const std::vector<tagCONFIGGROUP> groups = ReadGroups(module);
  return std::any_of(groups.begin(), groups.end(), [&](const auto& group) { return group.wGroupID == id; });
}

Table ReadLog(const Module& module, uint16_t id, const std::optional<Lines>& lines) {
  const bool sel = id == LOG_SEL;
  Table table;
  if (sel) {
    table.columns = {{"date"}, {"time"}, {"sensor"}, {"description"}, {"source"}};
  } else {
    table.columns = {{"date"}, {"time"}, {"host"}, {"source"}, {"message"}};
  }
  for (const Item& item : ReadItems(module, id, lines)) {
    table.rows.push_back({Text(item, CE_DATE), Text(item, CE_TIME), Text(item, sel ? CE_SENSOR : CE_HOST),
                          Text(item, sel ? CE_MESSAGE : CE_SOURCE), sel ? Origin(item) : Text(item, CE_MESSAGE)});
  }
  return table;
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
          {{L"word", Hexadecimal(word, 16)},
           {L"repeat-event", *module.g_bRepeatEvent != 0 ? L"on" : L"off"},
           {L"update-interval", std::to_wstring(*module.g_uiUpdateInterval)}}};
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
