// The bundled stand-in buffer library: a thread-safe table of buffer
// descriptions over caller-owned memory.
#include "qvb.h"

#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>

namespace {

struct Buffer {
  uint64_t address = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t stride = 0;
  uint32_t format = 0;
  uint32_t method = 0;
  uint32_t phase = 0;
};

struct Table {
  std::mutex lock;
  std::unordered_map<BufferHandle, Buffer> buffers;
  BufferHandle next = 1;  // handles are never reused, and never 0
};

Table& TheTable() {
  static Table table;
  return table;
}

uint32_t* Field32(Buffer& b, BufferParameter id) {
  switch (id) {
    case BUF_PARAM_WIDTH: return &b.width;
    case BUF_PARAM_HEIGHT: return &b.height;
    case BUF_PARAM_STRIDE: return &b.stride;
    case BUF_PARAM_FORMAT: return &b.format;
    case BUF_PARAM_DEMOSAIC_METHOD: return &b.method;
    case BUF_PARAM_BAYER_PHASE: return &b.phase;
    default: return nullptr;
  }
}

}  // namespace

extern "C" {

QVB_API Status QVB_BufferCreate(void* memory, uint32_t width, uint32_t height, uint32_t stride,
                                ImageFormat format, BufferHandle* handle) {
  if (handle == nullptr) return QVB_STATUS_BAD_PARAMETER;
  Buffer b;
  b.address = reinterpret_cast<uintptr_t>(memory);
  b.width = width;
  b.height = height;
  b.stride = stride;
  b.format = format;
  Table& t = TheTable();
  std::lock_guard<std::mutex> guard(t.lock);
  try {
    t.buffers.emplace(t.next, b);
  } catch (const std::bad_alloc&) {
    return QVB_STATUS_OUT_OF_MEMORY;
  }
  *handle = t.next++;
  return QVB_STATUS_OK;
}

QVB_API Status QVB_BufferParameterSet(BufferHandle handle, BufferParameter id, uint64_t value) {
  Table& t = TheTable();
  std::lock_guard<std::mutex> guard(t.lock);
  auto it = t.buffers.find(handle);
  if (it == t.buffers.end()) return QVB_STATUS_NO_BUFFER;
  if (id == BUF_PARAM_ADDRESS) {
    it->second.address = value;
    return QVB_STATUS_OK;
  }
  uint32_t* field = Field32(it->second, id);
  if (field == nullptr) return QVB_STATUS_BAD_PARAMETER;
  *field = static_cast<uint32_t>(value);
  return QVB_STATUS_OK;
}

QVB_API Status QVB_BufferDestroy(BufferHandle handle) {
  Table& t = TheTable();
  std::lock_guard<std::mutex> guard(t.lock);
  return t.buffers.erase(handle) == 1 ? QVB_STATUS_OK : QVB_STATUS_NO_BUFFER;
}

QVB_API Status QVB_BufferParameterGet(BufferHandle handle, BufferParameter id, void* out) {
  if (out == nullptr) return QVB_STATUS_BAD_PARAMETER;
  Table& t = TheTable();
  std::lock_guard<std::mutex> guard(t.lock);
  auto it = t.buffers.find(handle);
  if (it == t.buffers.end()) return QVB_STATUS_NO_BUFFER;
  Buffer& b = it->second;
  if (id == BUF_PARAM_VALID || id == BUF_PARAM_ADDRESS) {
    const uint64_t answer = id == BUF_PARAM_VALID ? 1 : b.address;
    std::memcpy(out, &answer, sizeof answer);
    return QVB_STATUS_OK;
  }
  const uint32_t* field = Field32(b, id);
  if (field == nullptr) return QVB_STATUS_BAD_PARAMETER;
  std::memcpy(out, field, sizeof *field);
  return QVB_STATUS_OK;
}

}  // extern "C"
