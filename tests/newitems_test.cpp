/// What is new in a list beside what was seen. A letter is a record; lists are newest first.
#include "standin/follow/newitems.h"

#include <gtest/gtest.h>

#include <string>

namespace standin {
namespace {

Keys Records(const std::string& letters) {
  Keys keys;
  for (const char letter : letters) keys.emplace_back(1, letter);
  return keys;
}

TEST(NewItems, OfALogWithAnOrder) {
  const struct {
    const char *seen, *listed;
    size_t fresh;
    const char* why;
  } cases[] = {
      {"", "cba", 3, "nothing was seen"},
      {"cba", "", 0, "a cleared log"},
      {"cba", "cba", 0, "nothing came"},
      {"cba", "edcba", 2, "two came"},
      {"edcba", "gfedc", 2, "a log that wrapped round"},
      {"cba", "ed", 2, "cleared, and filled anew"},
      {"cba", "edcba", 2, "cleared behind an archive, filled anew"},
      {"edcba", "fcba", 1, "the archive lacks the newest that were seen"},
      {"cba", "cbacba", 0, "the archive has what the controller still holds"},
      {"cba", "fedcba", 3, "archived before it was seen"},
      {"cba", "a", 1, "a cleared log may begin as the old one did"},
      {"cba", "c", 0, "the older ones were deleted"},
      {"a", "ba", 1, "a log of one"},
      {"xyxy", "zxyxy", 1, "the first place where they belong together"},
      {"ponmlkjihgfedcba", "qponmlkjiXXXX", 1, "what lies deeper than the chain"},
      {"ponmlkji", "qpoXmlkji", 4, "a broken chain is none"},
  };
  for (const auto& c : cases) EXPECT_EQ(CountNew(Records(c.seen), Records(c.listed)), c.fresh) << c.why;
}

TEST(NewItems, OfALogSortedByText) {
  SeenLines lines;
  const auto note = [&lines](const std::string& list, bool isWhole) {
    std::string fresh;
    for (const char letter : list) {
      if (lines.Note({letter})) fresh += letter;
    }
    lines.EndList(isWhole);
    return fresh;
  };
  EXPECT_EQ(note("cba", true), "cba");
  EXPECT_EQ(note("dcbba", true), "db") << "in the middle, and once more";
  EXPECT_EQ(note("ed", false), "e") << "part of the list";
  EXPECT_EQ(note("edcbba", true), "") << "what the part left out was seen";
  EXPECT_EQ(note("e", true), "");
  EXPECT_EQ(note("eb", true), "b") << "it went away in between";
}

}  // namespace
}  // namespace standin
