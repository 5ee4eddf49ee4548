#include "tests/support/module.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <codecvt>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <locale>
#include <string_view>

namespace {

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

Row MakeRow(const tagCONFIGITEM& item) {
  Row row{item.dwIndex, item.dwID, "", {}};
  for (size_t i = 0; i < item.dwEntryCount; ++i) {
    const tagCONFIGENTRY& entry = item.pEntries[i];
    row.shape += (i == 0 ? "" : " ") + std::to_string(entry.dwEntryID) + ":" + std::to_string(entry.dwAttributes);
    row.values.push_back(ToText(entry.varValue));
    EXPECT_EQ(entry.bFlag, 0);
  }
  return row;
}

/// Where readable memory ends.
char* EndOfMemory() {
  static char* const end = [] {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* two = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_EQ(mprotect(static_cast<char*>(two) + page, page, PROT_NONE), 0);
    return static_cast<char*>(two) + page;
  }();
  return end;
}

}  // namespace

HostModule::HostModule() : Module(std::getenv("KESTRUNE_MODULE")) {}

HostModule::~HostModule() { EXPECT_TRUE(Unload()) << "the module is still in the process"; }

Reply Send(const HostModule& module, const ItemRequest& request) {
  const bool ranged = std::string_view(request.name) == SP_CONFIGITEMEX;
  tagITEMRANGE range{request.begin, request.end, 0x5EED, request.count};
  // The identifier of the group form is four bytes shorter; what lies after it is not the module's to read.
  const size_t size = request.identifier.dwIDVType == IDV_CONFIGGROUP ? 12 : 16;
  void* identifier = std::memcpy(EndOfMemory() - size, &request.identifier, size);
  standin::MarkedItems items(std::max(request.count, 1U));

  TakeLines();
  const int32_t result = module.SPConfig(SP_OP_GET, request.name, identifier, ranged ? &range.dwBegin : &range.dwCount,
                                         request.array ? items.data() : nullptr);
  Reply reply{result, range.dwCount, range.dwBegin, range.dwEnd, {}, TakeLines()};
  EXPECT_EQ(range.dwReserved, 0x5EEDU);
  EXPECT_EQ(std::memcmp(identifier, &request.identifier, size), 0);
  EXPECT_TRUE(!request.array || reply.count <= request.count);
  const size_t filled = result == 1 && request.array ? std::min(reply.count, request.count) : 0;
  EXPECT_EQ(items.CountFilled(), filled);
  for (size_t i = 0; i < items.CountFilled().value_or(0); ++i) reply.rows.push_back(MakeRow(items[i]));
  return reply;
}

ModuleTest::ModuleTest() {
  machine::Reset();
  Host() = TestHost();
  standin::host = &Host();
  TakeLines();
  TakeCalls();
  tmpBefore_ = machine::Listing("/tmp");
  descriptorsBefore_ = machine::OpenDescriptors();
}

void ModuleTest::TearDown() {
  Host().onMessage = Host().onCall = nullptr;  // they may hold what was the test's own
  Unload();
  EXPECT_EQ(NewInTmp(), std::set<std::string>());
  EXPECT_EQ(machine::Listing("/var/log").count("._app_log_.tmp"), 0U);
  EXPECT_EQ(machine::OpenDescriptors(), descriptorsBefore_);
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

void ModuleTest::PlantAt(const std::string& path, const std::function<void()>& request) {
  const std::string folder = std::filesystem::path(path).parent_path(), victim = folder + "/victim";
  const std::set<std::string> before = machine::Listing(folder);
  for (const std::string kind : {"link", "link to /tmp/target", "hard link", "FIFO", "stranger's file", "folder"}) {
    SCOPED_TRACE(testing::Message() << kind << " at " << path);
    machine::WriteFile(victim, "victim");
    machine::Plant(kind, path, victim);
    request();
    EXPECT_EQ(machine::ReadFile(victim), "victim");
    EXPECT_EQ(machine::RemoveAside(path), kind == "folder" ? 1 : 0);
    machine::Remove(victim);
    EXPECT_EQ(machine::Listing(folder), before);
  }
}

std::set<std::string> ModuleTest::NewInTmp() const {
  std::set<std::string> names = machine::Listing("/tmp");
  std::erase_if(names, [this](const std::string& name) { return tmpBefore_.contains(name); });
  return names;
}
