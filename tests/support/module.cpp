#include "tests/support/module.h"

#include <dlfcn.h>

#include <algorithm>
#include <codecvt>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string_view>

namespace {

constexpr uint8_t kPattern = 0xC7;

const char* ModulePath() { return std::getenv("KESTRUNE_MODULE"); }

bool IsUntouched(const tagCONFIGITEM& item) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&item);
  return std::all_of(bytes, bytes + sizeof(item), [](uint8_t byte) { return byte == kPattern; });
}

std::string ToText(const tagVARIANT& value) {
  if (value.vt == VT_I4) return std::to_string(value.value.llVal);
  if (value.vt != VT_BSTR || value.value.bstrVal == nullptr) {
    return "(type " + std::to_string(value.vt) + ": " + std::to_string(value.value.ullVal) + ")";
  }
  const size_t length = std::wcslen(value.value.bstrVal);
  // A second zero follows the terminator of a converted text; only that of an invalid text, which is empty, lacks it.
  EXPECT_TRUE(length == 0 || value.value.bstrVal[length + 1] == 0);
  return std::wstring_convert<std::codecvt_utf8<wchar_t>>().to_bytes(value.value.bstrVal);
}

Row TakeRow(const tagCONFIGITEM& item) {
  const std::unique_ptr<tagCONFIGENTRY[]> entries(item.pEntries);
  Row row{item.dwIndex, item.dwID, "", {}};
  for (size_t i = 0; i < item.dwEntryCount; ++i) {
    const std::string attributes = std::to_string(entries[i].dwAttributes);
    row.shape += (i == 0 ? "" : " ") + std::to_string(entries[i].dwEntryID) + ":" + attributes;
    row.values.push_back(ToText(entries[i].varValue));
    EXPECT_EQ(entries[i].bFlag, 0);
  }
  return row;
}

}  // namespace

HostModule::HostModule() : handle_(dlopen(ModulePath(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) throw std::runtime_error(dlerror());
}

HostModule::~HostModule() {
  SPUninitialize();
  EXPECT_EQ(dlclose(handle_), 0);
  EXPECT_EQ(dlopen(ModulePath(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "the module is still in the process";
}

void* HostModule::Symbol(const char* name) const {
  void* symbol = dlsym(handle_, name);
  if (symbol == nullptr) throw std::runtime_error(dlerror());
  return symbol;
}

tagIDV Group(uint32_t id, uint32_t index) {
  tagIDV identifier{};
  identifier.dwIDVType = IDV_CONFIGGROUP;
  identifier.id.group = {static_cast<uint16_t>(index), static_cast<uint16_t>(id)};
  return identifier;
}

tagIDV Type(uint32_t id, uint32_t index) {
  tagIDV identifier{};
  identifier.dwIDVType = IDV_CONFIGTYPE;
  identifier.id.type = {index, id};
  return identifier;
}

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.index << "/" << row.id << " [" << row.shape << "]";
  for (const std::string& value : row.values) *out << " '" << value << "'";
}

Reply Send(const HostModule& module, const ItemRequest& request) {
  const bool ranged = std::string_view(request.name) == SP_CONFIGITEMEX;
  tagITEMRANGE range{request.begin, request.end, 0x5EED, request.count};
  uint32_t count = request.count;
  // The identifier of the group form is four bytes shorter.
  const auto* bytes = reinterpret_cast<const char*>(&request.identifier);
  std::vector<char> identifier(bytes, bytes + (request.identifier.dwIDVType == IDV_CONFIGGROUP ? 12 : 16));
  const std::vector<char> identifier_before = identifier;
  const size_t capacity = std::max<size_t>(request.count, 1);
  const std::unique_ptr<tagCONFIGITEM[]> items(request.array ? new tagCONFIGITEM[capacity] : nullptr);
  if (items) std::memset(static_cast<void*>(items.get()), kPattern, capacity * sizeof(tagCONFIGITEM));

  Reply reply{};
  TakeLines();
  const int32_t result = module.SPConfig(SP_OP_GET, request.name, identifier.data(),
                                         ranged ? static_cast<void*>(&range) : static_cast<void*>(&count), items.get());
  if (ranged) count = range.dwCount;
  reply = {result, count, range.dwBegin, range.dwEnd, {}, TakeLines()};
  EXPECT_EQ(range.dwReserved, 0x5EEDU);
  EXPECT_EQ(identifier, identifier_before);
  if (items) {
    EXPECT_LE(count, request.count);
    const size_t filled = result == 1 ? std::min<size_t>(count, request.count) : 0;
    for (size_t i = 0; i < filled; ++i) reply.rows.push_back(TakeRow(items[i]));
    EXPECT_TRUE(std::all_of(items.get() + filled, items.get() + capacity, IsUntouched)) << "items behind the reply";
  }
  return reply;
}

ModuleTest::ModuleTest() {
  machine::Reset();
  Host() = TestHost();
  TakeLines();
  TakeCalls();
  tmp_before_ = machine::Listing("/tmp");
  descriptors_before_ = machine::OpenDescriptors();
}

void ModuleTest::TearDown() {
  Host().on_message = nullptr;
  Unload();
  EXPECT_EQ(NewInTmp(), std::set<std::string>());
  EXPECT_EQ(machine::Listing("/var/log").count("._app_log_.tmp"), 0U);
  EXPECT_EQ(machine::OpenDescriptors(), descriptors_before_);
}

const HostModule& ModuleTest::Load() {
  if (!module_) module_.emplace();
  return *module_;
}

const HostModule& ModuleTest::Start() {
  EXPECT_EQ(Load().SPInitialize(nullptr, nullptr), 1);
  TakeLines();
  TakeCalls();
  return *module_;
}

std::set<std::string> ModuleTest::NewInTmp() const {
  std::set<std::string> names = machine::Listing("/tmp");
  std::erase_if(names, [this](const std::string& name) { return tmp_before_.contains(name); });
  return names;
}
