// The one dispatch: which set of kernels a job gets, and which set the
// processor under test was given (the presets that run on a known or
// emulated processor name it in QVI_EXPECT_ISA).
#include <gtest/gtest.h>

#include <cstdlib>

#include "buffer/dispatch.h"

namespace qvi::test {
namespace {

TEST(Dispatch, BestIsTheHighestCoveredSetUpToTheCeiling) {
  const struct {
    IsaSet covered;
    Isa ceiling, best;
  } cases[] = {
      {{Isa::sse2, Isa::avx2, Isa::neon}, Isa::avx512vbmi, Isa::avx2},
      {{Isa::sse2, Isa::avx2, Isa::avx512bw}, Isa::avx512vbmi, Isa::avx512bw},
      {{Isa::sse2, Isa::avx2, Isa::avx512vbmi}, Isa::avx512bw, Isa::avx2},
      {{Isa::sse2, Isa::avx2, Isa::avx512vbmi}, Isa::avx512vbmi, Isa::avx512vbmi},
      {{Isa::sse2, Isa::avx2, Isa::neon}, Isa::sse2, Isa::sse2},
      {{Isa::sse2, Isa::avx2, Isa::neon}, Isa::neon, Isa::neon},
      {{Isa::sse2, Isa::avx2}, Isa::portable, Isa::portable},
      {{}, Isa::avx512vbmi, Isa::portable},
  };
  for (const auto& c : cases) EXPECT_EQ(Best(c.covered, c.ceiling), c.best) << NameOf(c.ceiling);
}

TEST(Dispatch, RunsTheSetThisProcessorWasGiven) {
  const Isa chosen = Chosen();
  EXPECT_TRUE(Runs(chosen)) << NameOf(chosen);
  EXPECT_EQ(chosen, Chosen()) << "asked once, the same answer";
  const char* expected = std::getenv("QVI_EXPECT_ISA");
  if (expected == nullptr) GTEST_SKIP() << "runs " << NameOf(chosen) << "; no set expected here";
  EXPECT_STREQ(NameOf(chosen), expected);
}

}  // namespace
}  // namespace qvi::test
