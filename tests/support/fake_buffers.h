// A recording fake of the buffer library, linked into the unit tests in place
// of libqvb.  Tests register buffers over memory they own, read back the log
// of queries qvi made, and can make the fake misbehave (answer with an error
// status, or not answer at all) to show that qvi judges answers by value.
#pragma once

#include <cstdint>
#include <vector>

#include "qvi.h"

namespace qvi::test {

struct FakeBuffer {
  uint64_t valid = 1;
  uint64_t address = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t stride = 0;
  uint32_t format = 0;
  uint32_t method = 0;
  uint32_t phase = 0;
};

struct Query {
  BufferHandle handle;
  BufferParameter id;
  bool operator==(const Query&) const = default;
};

// Registers a buffer and returns its handle (never 0).
BufferHandle AddFakeBuffer(const FakeBuffer& buffer);
// Registers a valid image at `memory` with no demosaic method or phase.
inline BufferHandle AddFakeBuffer(const void* memory, uint32_t format, uint32_t width, uint32_t height,
                                  uint32_t stride) {
  return AddFakeBuffer(FakeBuffer{.address = reinterpret_cast<uintptr_t>(memory), .width = width, .height = height,
                                  .stride = stride, .format = format});
}
// The live description of a registered buffer, for tests to change.
FakeBuffer& FakeBufferOf(BufferHandle handle);

// The queries made since the last ClearQueryLog(), in order.
std::vector<Query> QueryLog();
void ClearQueryLog();

// Every query returns this status from now on (default 0); answers are still
// written.  Queries of `silent_id` (0: none) write nothing at all.
void SetQueryStatus(Status status);
void SetSilentParameter(BufferParameter silent_id);

// Forgets every buffer, the log and the misbehaviour settings.
void ResetFakeBuffers();

}  // namespace qvi::test
