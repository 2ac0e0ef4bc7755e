// QVI_FileWrite: the file-kind dispatch and the raw dump of a buffer's lines.
#include <cstdio>

#include "buffer/buffer_query.h"
#include "file/output_file.h"
#include "qvi.h"

namespace qvi::file {
namespace {

// Writes stride x height bytes from the data address, padding and all.
Status WriteRawDump(BufferHandle buffer, const char* path) {
  const uint8_t* data = buffer::QueryAddress(buffer);
  if (data == nullptr) return STATUS_BAD_BUFFER;
  const uint32_t height = buffer::Query32(buffer, BUF_PARAM_HEIGHT);
  // A finished dump returns the buffer library's status for this query, unexamined.
  Status stride_query_status = STATUS_OK;
  const uint32_t stride = buffer::Query32(buffer, BUF_PARAM_STRIDE, &stride_query_status);

  FILE* stream = OpenForWriting(path);
  if (stream == nullptr) return STATUS_OPEN_FAILED;
  const uint32_t bytes = height * stride;  // modulo 2^32, as the dump is defined
  if (std::fwrite(data, 1, bytes, stream) < bytes) {
    CloseAfterFailure(stream);
    return STATUS_WRITE_FAILED;
  }
  if (std::fclose(stream) != 0) return STATUS_CLOSE_FAILED;
  return stride_query_status;
}

}  // namespace
}  // namespace qvi::file

extern "C" QVI_API Status QVI_FileWrite(BufferHandle buffer, const char* path, FileKind kind) {
  if (qvi::buffer::QueryValid(buffer) == 0) return STATUS_BAD_BUFFER;
  if (kind == FILE_KIND_TIFF) return QVI_FileWriteTiff(buffer, path);
  if (kind != FILE_KIND_RAW) return STATUS_BAD_PARAMETER;
  return qvi::file::WriteRawDump(buffer, path);
}
