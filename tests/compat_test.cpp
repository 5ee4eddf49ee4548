/// The exported values and strings: variants, wide strings, and the small functions beside them.
#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <sys/time.h>

#include <chrono>
#include <clocale>
#include <csignal>
#include <cstring>
#include <memory>

#include "tests/support/module.h"

namespace {

using namespace std::string_literals;

class CompatTest : public ModuleTest {};

TEST_F(CompatTest, StringsFromWideAndMultibyteText) {
  const auto wide = Load().Find<BSTR (*)(const wchar_t*)>("_Z14SysAllocStringPKw");
  const auto multibyte = Load().Find<BSTR (*)(const char*)>("_Z14SysAllocStringPKc");
  EXPECT_EQ(wide(nullptr), nullptr);
  EXPECT_EQ(multibyte(nullptr), nullptr);
  for (const wchar_t* text : {L"", L"sensor \x20AC"}) {
    EXPECT_STREQ(std::unique_ptr<wchar_t[]>(wide(text)).get(), text);
  }
  std::setlocale(LC_ALL, "C.UTF-8");
  const std::vector<std::pair<const char*, std::wstring>> cases = {// a zero more than std::wstring has
                                                                   {"", L"\0"s},
                                                                   {"ab", L"ab\0"s},
                                                                   {"\xE2\x82\xAC", L"\x20AC\0"s},
                                                                   {"good\xFF", L""}};
  for (const auto& [text, result] : cases) {
    const std::unique_ptr<wchar_t[]> string(multibyte(text));
    EXPECT_EQ(std::wmemcmp(string.get(), result.c_str(), result.size() + 1), 0) << text;
  }
  for (size_t length = 0; length <= 40; ++length) {
    for (size_t place = 0; place <= length; ++place) {  // at the last one the text is ASCII alone
      std::string text;
      std::wstring result;
      for (size_t i = 0; i < length; ++i) {
        const auto letter = static_cast<char>('A' + i);
        text += i == place ? "\xC3\xA9" : std::string(1, letter);
        result += i == place ? L'\xE9' : static_cast<wchar_t>(letter);
      }
      const std::unique_ptr<wchar_t[]> string(multibyte(text.c_str()));
      EXPECT_EQ(std::wmemcmp(string.get(), result.c_str(), length + 1), 0) << text;
      EXPECT_EQ(string[length + 1], L'\0');
    }
  }
  std::setlocale(LC_ALL, "C");
}

TEST_F(CompatTest, VariantsOwnTheirStrings) {
  const auto copy = Load().Find<decltype(&VariantCopy)>("VariantCopy");
  const auto clear = Load().Find<decltype(&VariantClear)>("VariantClear");
  for (const uint16_t type : {VT_BSTR, VT_I4}) {
    for (const bool null : {false, true}) {
      tagVARIANT source, target;
      std::memset(&source, 0x5A, sizeof(source));
      std::memset(&target, 0xA5, sizeof(target));
      source.vt = type;
      if (null) source.value.llVal = 0;
      if (type == VT_BSTR && !null) source.value.bstrVal = std::wcscpy(new wchar_t[5], L"text");
      EXPECT_EQ(copy(&target, &source), 0);
      tagVARIANT expected = source;
      if (type == VT_BSTR && !null) {
        EXPECT_NE(target.value.bstrVal, source.value.bstrVal);
        expected.value.bstrVal = target.value.bstrVal;
      }
      EXPECT_EQ(std::memcmp(&target, &expected, sizeof(target)), 0) << "all but the string is taken over";
      expected = source;
      expected.vt = VT_EMPTY;
      if (type == VT_BSTR) expected.value.bstrVal = nullptr;
      EXPECT_EQ(clear(&source), 0);
      EXPECT_EQ(std::memcmp(&source, &expected, sizeof(source)), 0) << "a number stays where it was";
      if (type == VT_BSTR && !null) {
        EXPECT_STREQ(target.value.bstrVal, L"text");
      }
      EXPECT_EQ(clear(&target), 0);
    }
  }
}

TEST_F(CompatTest, MultibyteTextFromWide) {
  const auto print = Load().Find<decltype(&sprintwcs)>("sprintwcs");
  const struct {
    const wchar_t* source;
    uint32_t limit;
    std::string result;  // the bytes behind what was written stay
  } cases[] = {{L"abc", 8, "abc\0####"s},   {L"abc", 4, "abc\0####"s}, {L"abc", 3, "abc#####"},
               {L"abc", 0, "########"},     {L"", 8, "\0#######"s},    {nullptr, 0, "null\0###"s},
               {L"\x20AC", 8, "null\0###"s}};
  for (const auto& c : cases) {
    std::string destination(8, '#');
    EXPECT_EQ(print(destination.data(), c.source, c.limit), destination.data());
    EXPECT_EQ(destination, c.result);
  }
}

TEST_F(CompatTest, TimeAndSleep) {
  struct sysinfo before {
  }, after{};
  sysinfo(&before);
  const uint64_t ticks = Load().Find<decltype(&GetTickCount)>("GetTickCount")();
  sysinfo(&after);
  EXPECT_EQ(ticks % 1000, 0U);
  EXPECT_TRUE(ticks / 1000 == static_cast<uint64_t>(before.uptime) ||
              ticks / 1000 == static_cast<uint64_t>(after.uptime));

  // A signal every 20 ms does not shorten the sleep.
  std::signal(SIGALRM, [](int) {});
  const itimerval often{{0, 20000}, {0, 20000}}, never{};
  setitimer(ITIMER_REAL, &often, nullptr);
  for (const uint32_t milliseconds : {0U, 150U, 1100U}) {
    const auto start = std::chrono::steady_clock::now();
    Load().Find<decltype(&::Sleep)>("Sleep")(milliseconds);
    const auto slept = std::chrono::steady_clock::now() - start;
    EXPECT_GE(slept, std::chrono::milliseconds(milliseconds));
    EXPECT_LT(slept, std::chrono::milliseconds(milliseconds + 900));
  }
  setitimer(ITIMER_REAL, &never, nullptr);
  std::signal(SIGALRM, SIG_DFL);
}

}  // namespace
