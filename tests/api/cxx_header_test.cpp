// The headers from C++, and the bundled buffer library as applications see it.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "qvb.h"
#include "qvi.h"

namespace {

TEST(BundledBufferLibrary, AnswersWhatWasSet) {
  uint8_t memory[64];
  BufferHandle h = 0;
  ASSERT_EQ(QVB_BufferCreate(memory, 4, 2, 16, FMT_Y8, &h), QVB_STATUS_OK);
  ASSERT_NE(h, 0u);
  ASSERT_EQ(QVB_BufferParameterSet(h, BUF_PARAM_DEMOSAIC_METHOD, DEMOSAIC_METHOD_MED), QVB_STATUS_OK);
  ASSERT_EQ(QVB_BufferParameterSet(h, BUF_PARAM_BAYER_PHASE, BAYER_PHASE_C), QVB_STATUS_OK);

  uint64_t valid = 0, address = 0;
  uint32_t width = 0, height = 0, stride = 0, format = 0, method = 0, phase = 0;
  EXPECT_EQ(QVB_BufferParameterGet(h, BUF_PARAM_VALID, &valid), QVB_STATUS_OK);
  QVB_BufferParameterGet(h, BUF_PARAM_ADDRESS, &address);
  QVB_BufferParameterGet(h, BUF_PARAM_WIDTH, &width);
  QVB_BufferParameterGet(h, BUF_PARAM_HEIGHT, &height);
  QVB_BufferParameterGet(h, BUF_PARAM_STRIDE, &stride);
  QVB_BufferParameterGet(h, BUF_PARAM_FORMAT, &format);
  QVB_BufferParameterGet(h, BUF_PARAM_DEMOSAIC_METHOD, &method);
  QVB_BufferParameterGet(h, BUF_PARAM_BAYER_PHASE, &phase);
  EXPECT_EQ(valid, 1u);
  EXPECT_EQ(address, reinterpret_cast<uintptr_t>(memory));
  EXPECT_EQ((std::vector<uint32_t>{width, height, stride, format, method, phase}),
            (std::vector<uint32_t>{4, 2, 16, FMT_Y8, DEMOSAIC_METHOD_MED, BAYER_PHASE_C}));
  EXPECT_EQ(QVB_BufferParameterSet(h, BUF_PARAM_VALID, 0), QVB_STATUS_BAD_PARAMETER);
  EXPECT_EQ(QVB_BufferDestroy(h), QVB_STATUS_OK);
}

TEST(BundledBufferLibrary, DestroyedAndUnknownHandlesLeaveTheStorageAlone) {
  uint8_t memory[4];
  BufferHandle h = 0;
  ASSERT_EQ(QVB_BufferCreate(memory, 1, 1, 4, FMT_Y8, &h), QVB_STATUS_OK);
  ASSERT_EQ(QVB_BufferDestroy(h), QVB_STATUS_OK);
  for (BufferHandle handle : {h, BufferHandle{0}, BufferHandle{0xFFFFFFFF}}) {
    uint64_t storage = 0x1234;
    EXPECT_NE(QVB_BufferParameterGet(handle, BUF_PARAM_VALID, &storage), QVB_STATUS_OK);
    EXPECT_EQ(storage, 0x1234u);
  }
  EXPECT_EQ(QVB_BufferDestroy(h), QVB_STATUS_NO_BUFFER);
  EXPECT_EQ(QVB_BufferParameterSet(h, BUF_PARAM_WIDTH, 2), QVB_STATUS_NO_BUFFER);
}

TEST(BundledBufferLibrary, IsSafeFromSeveralThreads) {
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&wrong, t] {
      uint8_t memory[16];
      for (int i = 0; i < 2000; ++i) {
        BufferHandle h = 0;
        if (QVB_BufferCreate(memory, static_cast<uint32_t>(t), 1, 16, FMT_Y8, &h) != QVB_STATUS_OK) ++wrong;
        uint32_t width = 99;
        QVB_BufferParameterGet(h, BUF_PARAM_WIDTH, &width);
        if (width != static_cast<uint32_t>(t)) ++wrong;
        QVB_BufferDestroy(h);
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
