// The headers from C++, and the bundled buffer library as applications see it
// (its use from several threads at once is in the concurrency test).
#include <gtest/gtest.h>

#include "qvb.h"
#include "qvi.h"

namespace {

// A live buffer answers every id with what was set, writing 64 bits for the
// validity and the address and 32 for the rest; BUF_PARAM_VALID cannot be
// set; a destroyed, unknown or null handle answers nothing, leaves the
// storage alone and can be neither changed nor destroyed.
TEST(BundledBufferLibrary, AnswersWhatWasSetUntilDestroyed) {
  uint8_t memory[64];
  BufferHandle h = 0;
  ASSERT_EQ(QVB_BufferCreate(memory, 4, 2, 16, FMT_Y8, &h), QVB_STATUS_OK);
  ASSERT_NE(h, 0u);
  ASSERT_EQ(QVB_BufferParameterSet(h, BUF_PARAM_DEMOSAIC_METHOD, DEMOSAIC_METHOD_MED), QVB_STATUS_OK);
  ASSERT_EQ(QVB_BufferParameterSet(h, BUF_PARAM_BAYER_PHASE, BAYER_PHASE_C), QVB_STATUS_OK);
  EXPECT_EQ(QVB_BufferParameterSet(h, BUF_PARAM_VALID, 0), QVB_STATUS_BAD_PARAMETER);
  const std::pair<BufferParameter, uint64_t> answers[] = {
      {BUF_PARAM_VALID, 1},  {BUF_PARAM_ADDRESS, reinterpret_cast<uintptr_t>(memory)},
      {BUF_PARAM_WIDTH, 4},  {BUF_PARAM_HEIGHT, 2}, {BUF_PARAM_STRIDE, 16}, {BUF_PARAM_FORMAT, FMT_Y8},
      {BUF_PARAM_DEMOSAIC_METHOD, DEMOSAIC_METHOD_MED}, {BUF_PARAM_BAYER_PHASE, BAYER_PHASE_C}};
  for (auto [id, value] : answers) {
    uint64_t storage = 0xAAAAAAAAAAAAAAAA;
    const bool wide = id == BUF_PARAM_VALID || id == BUF_PARAM_ADDRESS;
    EXPECT_EQ(QVB_BufferParameterGet(h, id, &storage), QVB_STATUS_OK) << id;
    EXPECT_EQ(storage, wide ? value : 0xAAAAAAAA00000000 | value) << id;
  }
  ASSERT_EQ(QVB_BufferDestroy(h), QVB_STATUS_OK);
  for (BufferHandle handle : {h, BufferHandle{0}, BufferHandle{0xFFFFFFFF}}) {
    uint64_t storage = 0x1234;
    EXPECT_EQ(QVB_BufferParameterGet(handle, BUF_PARAM_VALID, &storage), QVB_STATUS_NO_BUFFER) << handle;
    EXPECT_EQ(storage, 0x1234u) << handle;
    EXPECT_EQ(QVB_BufferParameterSet(handle, BUF_PARAM_WIDTH, 2), QVB_STATUS_NO_BUFFER) << handle;
    EXPECT_EQ(QVB_BufferDestroy(handle), QVB_STATUS_NO_BUFFER) << handle;
  }
}

}  // namespace
