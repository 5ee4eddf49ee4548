#include "tests/support/machine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace machine {
namespace {

namespace fs = std::filesystem;

const std::string COMMAND_FOLDER = "/usr/zarp/bin/", COMMAND_NOTES = "/usr/zarp/commands";

void Check(bool good, const std::string& what) {
  if (!good) throw std::system_error(errno, std::generic_category(), what);
}

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set; run the tests through ctest");
  return value;
}

/// Whether this process runs in a fresh private machine.
bool IsPrivate() {
  const char* mark = std::getenv("KESTRUNE_PRIVATE_MACHINE");
  std::error_code error;
  return mark != nullptr && std::string_view(mark) == "1" && fs::is_empty("/var/log", error) && !error;
}

}  // namespace

void Reset() {
  for (const char* folder : {"/var/log", "/etc/zarp", "/usr/zarp"}) {
    for (const auto& entry : fs::directory_iterator(folder)) Remove(entry.path());
  }
  for (const std::string& name : Listing("/tmp")) {
    if (name.find("kestrune_cache") != std::string::npos || name.find("log__tmp") != std::string::npos) {
      Remove("/tmp/" + name);
    }
  }
}

void WriteFile(const std::string& path, std::string_view content, std::ios::openmode mode) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | mode);
  Check(static_cast<bool>(file << content << std::flush), path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  Check(file.is_open(), path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void PlantFIFO(const std::string& path) { Check(mkfifo(path.c_str(), 0666) == 0, path); }

void PlantStrangersFile(const std::string& path) {
  WriteFile(path, "stranger");
  fs::permissions(path, fs::perms(0666));
  if (geteuid() == 0) Check(chown(path.c_str(), 65534, 65534) == 0, path);
}

void Plant(const std::string& kind, const std::string& path, const std::string& victim) {
  Remove(path);
  if (kind == "folder") PlantFolder(path);
  if (kind == "FIFO") PlantFIFO(path);
  if (kind == "stranger's file") PlantStrangersFile(path);
  if (kind == "link") PlantLink(path, victim);
  if (kind == "hard link") fs::create_hard_link(victim, path);
  if (kind.starts_with("link to ")) PlantLink(path, kind.substr(8));
}

std::set<std::string> Listing(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

int RemoveAside(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  int removed = 0;
  for (const std::string& name : Listing(folder)) {
    if (!name.starts_with(fs::path(path).filename().string() + ".aside.")) continue;
    fs::remove_all(folder / name);
    ++removed;
  }
  return removed;
}

std::set<int> OpenDescriptors() {
  std::set<int> open;
  for (int descriptor = 0; descriptor < 256; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) open.insert(descriptor);
  }
  return open;
}

void InstallResourceManager(const std::string& omitted) {
  const std::string name = Variable("KESTRUNE_TEST_RESMGR") + (omitted.empty() ? "" : "-" + omitted) + ".so";
  PlantFolder("/usr/zarp/lib");
  fs::copy_file(name, "/usr/zarp/lib/libresmgr.so");
}

Commands::Commands() : realPath_(Variable("PATH")), path_("PATH", COMMAND_FOLDER.c_str()) {
  for (const char* name : {"awk", "cat", "cp", "grep", "mv", "rm", "sed", "sort", "tail", "wc"}) Before(name, "");
}

void Commands::Drop(const std::string& name) { Remove(COMMAND_FOLDER + name); }

void Commands::Before(const std::string& name, const std::string& script) {
  const std::string file = COMMAND_FOLDER + name;
  WriteFile(file, "#!/bin/sh\nprintf '%s\\n' \"" + name + " $*\" >> " + COMMAND_NOTES + "\nPATH=" + realPath_ +
                      "\nreal=$(command -v " + name + ")\n" + script + "\nexec $real \"$@\"\n");
  fs::permissions(file, fs::perms(0755));
}

std::multiset<std::string> Commands::TakeCalls() {
  std::multiset<std::string> calls;
  std::ifstream notes(COMMAND_NOTES);
  for (std::string line; std::getline(notes, line);) calls.insert(line);
  Remove(COMMAND_NOTES);
  return calls;
}

}  // namespace machine

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (GTEST_FLAG_GET(list_tests) || machine::IsPrivate()) return RUN_ALL_TESTS();
  std::fputs("These tests rewrite /var/log and /tmp and run in a private machine only: use ctest.\n", stderr);
  return 2;
}
