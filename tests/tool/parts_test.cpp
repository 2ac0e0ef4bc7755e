// Parts of the tool that the program run end to end cannot reach fully: the
// format table's lookups, the words for statuses it never meets, output
// limits at their edges, and where unfinished files are put.
#include <gtest/gtest.h>

#include <set>

#include "formats.h"
#include "output.h"
#include "support.h"

namespace qvi::tool {
namespace {

TEST(FormatTable, EachNameAndCodeFindsItsOwnRow) {
  for (const FormatInfo& f : AllFormats()) {
    EXPECT_EQ(FindFormat(f.name), &f) << f.name;
    EXPECT_EQ(&FormatOf(f.code), &f) << f.name;
  }
}

TEST(StatusWords, TellEveryStatusOfTheLibraryApart) {
  std::set<std::string_view> words;
  for (Status s : {STATUS_OK, STATUS_BAD_BAYER_MODE, STATUS_OPEN_FAILED, STATUS_BAD_BUFFER, STATUS_BAD_PARAMETER,
                   STATUS_BAD_FORMAT, STATUS_WRITE_FAILED, STATUS_CLOSE_FAILED}) {
    EXPECT_EQ(StatusName(s).substr(0, 7), "STATUS_");
    words.insert({StatusName(s), StatusMeaning(s)});
  }
  EXPECT_EQ(words.size(), 16u);
  EXPECT_EQ(DescribeStatus(4), "an unknown status (4: not a status of this library)");
}

TEST(Outputs, NumbersAndSizesHoldAtTheirEdges) {
  EXPECT_EQ(NumberedPath("d.x/o.raw", 41, 1000), "d.x/o-0042.raw");  // as many digits as the count needs
  EXPECT_NO_THROW(CheckWritable(FileType::kPng, FMT_BGR24, 65535, 65535));
  EXPECT_NO_THROW(CheckWritable(FileType::kRaw, FMT_BAY12, 70000, 1));
}

TEST(OutputSet, StagesEachFileBesideItsFinalNameSoThatRenamingIsAtomic) {
  const test::ScratchDir dir;
  const std::filesystem::path final_path = dir / "a.raw";
  OutputSet set;
  EXPECT_EQ(std::filesystem::path(set.Stage(final_path)).parent_path(), final_path.parent_path());
}

}  // namespace
}  // namespace qvi::tool
