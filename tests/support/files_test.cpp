#include "support/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <filesystem>

#include "core_fixture.h"
#include "support/errors.h"
#include "support/paths.h"
#include "support/text.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

using FilesTest = CoreTest;

TEST_F(FilesTest, EveryLineEndEndsALine) {
  writeTestFile(folder + "t", "\xEF\xBB\xBFone\r\ntwo\nthree\rfour\n\n\r\nend");
  TextFile file(folder + "t");
  std::string lines;
  for (std::string_view line; getline(file, line);) lines += std::string(line) + "|";
  EXPECT_EQ(lines, "one|two|three|four|||end|");
}

TEST_F(FilesTest, WhatIsNoTextFileIsRefused) {
  EXPECT_THROW(TextFile{folder}, FileError);
  EXPECT_THROW(TextFile(folder + "none"), FileError);
  ASSERT_EQ(mkfifo((folder + "pipe").c_str(), 0600), 0);
  EXPECT_THROW(TextFile(folder + "pipe"), FileError);  // and does not wait for somebody to write
  writeTestFile(folder + "huge", "x");
  fs::resize_file(folder + "huge", 5'000'000'000);  // a hole: takes no room on the disk
  try {
    TextFile(folder + "huge");
    ADD_FAILURE() << "5 GB are read";
  } catch (const FileError& error) {
    EXPECT_EQ(error.detail(), folder + "huge is too large for a calibration");
  }
}

TEST_F(FilesTest, WrittenFileKeepsModeAndLink) {
  writeTestFile(folder + "real", "old");
  chmod((folder + "real").c_str(), 0640);
  fs::create_symlink("real", folder + "link");
  ASSERT_TRUE(writeWholeFile(folder + "link", "new"));
  EXPECT_TRUE(fs::is_symlink(folder + "link"));
  EXPECT_EQ(fs::status(folder + "real").permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(written("real"), "new");
  EXPECT_FALSE(writeWholeFile(folder + "none/x", "new"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 3) << "left over";  // the log and these two
}

TEST_F(FilesTest, OnlyRegularFilesAreReplaced) {
  ASSERT_EQ(mkfifo((folder + "fifo").c_str(), 0600), 0);
  fs::create_directory(folder + "folder");
  const std::pair<const char*, const char*> links[] = {{"to fifo", "fifo"}, {"nowhere", "none"}, {"round", "round"}};
  for (const auto& [link, target] : links) fs::create_symlink(target, folder + link);
  for (const char* name : {"fifo", "folder", "to fifo", "nowhere", "round"}) {
    const fs::file_type before = fs::symlink_status(folder + name).type();
    EXPECT_FALSE(writeWholeFile(folder + name, "new")) << name;
    EXPECT_FALSE(GrowingFile(folder + name)) << name;
    EXPECT_EQ(fs::symlink_status(folder + name).type(), before) << name;
  }
  EXPECT_FALSE(fs::exists(folder + "none"));
}

TEST_F(FilesTest, AGrowingFileSharesItsContentWithNoOther) {
  writeTestFile(folder + "map.png", "pixels");
  fs::create_hard_link(folder + "map.png", folder + "list");
  const GrowingFile one(folder + "list");
  EXPECT_TRUE(one.add("one"));
  const GrowingFile two(folder + "list");  // as a second program opens the log
  EXPECT_TRUE(two.add("two") && one.add("one"));
  EXPECT_EQ(written("list") + written("map.png"), "twopixels");
}

TEST_F(FilesTest, WhatAKilledProgramLeftIsTakenAwayAndAnothersFileIsNot) {
  for (const char* name : {".vellandra-1", ".vellandra-2", ".vellandra-4"}) writeTestFile(folder + name, "left over");
  const int another = ::open((folder + ".vellandra-1").c_str(), O_WRONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(another, LOCK_EX), 0);
  EXPECT_TRUE(writeWholeFile(folder + "x", "new"));
  EXPECT_EQ(written("x") + written(".vellandra-1"), "newleft over");
  ::close(another);
  EXPECT_TRUE(writeWholeFile(folder + "x", "again"));
  EXPECT_EQ(written("x"), "again");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2) << "left over";  // the log and this one
}

TEST_F(FilesTest, AHeldFileHasOneHolder) {
  const std::string path = folder + "held.txt";
  HeldFile ours(path), theirs(path);
  ASSERT_TRUE(ours.create());
  EXPECT_FALSE(theirs.create() || theirs.takeOver());
  ASSERT_TRUE(ours.write("points"));
  EXPECT_FALSE(theirs.takeOver());
  fs::remove(path);
  ASSERT_TRUE(theirs.create()) << "somebody has taken the file away";
  ours.remove();
  EXPECT_TRUE(fileExists(path));
}

TEST_F(FilesTest, FilesAreFoundWithoutRegardToCaseSeparatorAndEncoding) {
  fs::create_directories(folder + "Maps/\xC3\x89t\xC3\xA9");
  writeTestFile(folder + "Maps/\xC3\x89t\xC3\xA9/Area.PNG", "x");
  const std::pair<const char*, bool> rows[] = {
      {"Maps/\xC3\x89t\xC3\xA9/Area.PNG", true}, {"maps\\\xC3\xA9T\xC3\x89\\AREA.png", true},
      {"MAPS\\\xC9t\xE9/area.png", true},        {"Maps/Ete/Area.PNG", false},
      {"Maps/\xC3\x89t\xC3\xA9", false},         {"Maps/nowhere/Area.PNG", false}};
  for (const auto& [path, found] : rows) {
    EXPECT_EQ(findFile(folder + path), found ? folder + "Maps/\xC3\x89t\xC3\xA9/Area.PNG" : "") << path;
  }
  for (const char* name : {"a.png", "A.png"}) writeTestFile(folder + name, "x");
  EXPECT_EQ(findFile(folder + "a.png"), folder + "a.png");
  EXPECT_EQ(findFile(folder + "a.PNG"), folder + "A.png");
  EXPECT_EQ(findFile(""), "");
  EXPECT_EQ(findFile(std::string_view("a.png\0x", 7)), "");
}

TEST(Paths, AreTakenApartAtBothSeparators) {
  const char* const rows[][2] = {{"C:\\maps\\area.MAP", "C:\\maps\\|area|map"},
                                 {"/a.b/c", "/a.b/|c|b/c"},
                                 {"x/y.z.tfw", "x/|y.z|tfw"},
                                 {"a.jgw2", "|a|gw2"},
                                 {"ab", "|ab|ab"},
                                 {"", "||"}};
  for (const auto& [path, expected] : rows) {
    const PathParts parts = splitPath(path);
    EXPECT_EQ(parts.folder + "|" + parts.base + "|" + parts.extension, expected);
  }
}

TEST(Text, Encodings) {
  EXPECT_EQ(toWindows1252("caf\xC3\xA9 \xE2\x82\xAC"), "caf\xE9 \x80");
  EXPECT_EQ(toWindows1252("\xD0\x96"), "");
  EXPECT_EQ(toUtf8("\xC3\xA5\n\xE5\n\xC3\xA5"), "\xC3\xA5\n\xC3\xA5\n\xC3\xA5") << "one line spoils the others";
  for (const char* bad : {"\xC0\x80", "\xE2\x82", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\x80"})
    EXPECT_FALSE(isUtf8(bad));
  EXPECT_EQ(foldCase("\xC3\x85\xD0\x96z"), "\xC3\xA5\xD0\xB6z");
}

TEST(Text, TrimSplitAndReplace) {
  EXPECT_EQ(TrimRight("WGS 84   ") + TrimRight("   ") + TrimRight(""), "WGS 84 ");
  EXPECT_EQ(splitFields("a,,b", ",").size(), 3U);
  EXPECT_EQ(splitFields("a,b,c,d", ",", 2).size(), 2U);
  EXPECT_EQ(replaceToken("ii ii", "ii", "7"), "7 ii");
}

}  // namespace
}  // namespace vellandra
