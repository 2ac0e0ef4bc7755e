#include "support/fake_buffers.h"

#include <cstring>
#include <map>
#include <mutex>

namespace qvi::test {
namespace {

struct State {
  std::mutex lock;
  std::map<BufferHandle, FakeBuffer> buffers;
  std::vector<Query> log;
  BufferHandle next = 0x1000;
  Status status = 0;
  BufferParameter silent = 0;
};

State& TheState() {
  static State state;
  return state;
}

}  // namespace

BufferHandle AddFakeBuffer(const FakeBuffer& buffer) {
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  const BufferHandle h = s.next++;
  s.buffers[h] = buffer;
  return h;
}

FakeBuffer& FakeBufferOf(BufferHandle handle) {
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  return s.buffers.at(handle);
}

std::vector<Query> QueryLog() {
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  return s.log;
}

void ClearQueryLog() {
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.log.clear();
}

void SetQueryStatus(Status status) {
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.status = status;
}

void SetSilentParameter(BufferParameter silent_id) {
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.silent = silent_id;
}

void ResetFakeBuffers() {
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.buffers.clear();
  s.log.clear();
  s.status = 0;
  s.silent = 0;
}

}  // namespace qvi::test

extern "C" Status QVB_BufferParameterGet(BufferHandle handle, BufferParameter id, void* out) {
  using namespace qvi::test;
  State& s = TheState();
  std::lock_guard<std::mutex> guard(s.lock);
  s.log.push_back({handle, id});
  auto it = s.buffers.find(handle);
  if (it == s.buffers.end() || id == s.silent) return 8;
  const FakeBuffer& b = it->second;
  uint64_t wide = 0;
  uint32_t narrow = 0;
  bool is_wide = false;
  switch (id) {
    case BUF_PARAM_VALID: wide = b.valid; is_wide = true; break;
    case BUF_PARAM_ADDRESS: wide = b.address; is_wide = true; break;
    case BUF_PARAM_WIDTH: narrow = b.width; break;
    case BUF_PARAM_HEIGHT: narrow = b.height; break;
    case BUF_PARAM_STRIDE: narrow = b.stride; break;
    case BUF_PARAM_FORMAT: narrow = b.format; break;
    case BUF_PARAM_DEMOSAIC_METHOD: narrow = b.method; break;
    case BUF_PARAM_BAYER_PHASE: narrow = b.phase; break;
    default: return 10;
  }
  if (is_wide) {
    std::memcpy(out, &wide, sizeof wide);
  } else {
    std::memcpy(out, &narrow, sizeof narrow);
  }
  return s.status;
}
