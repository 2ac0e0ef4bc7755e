// QVI_FileWrite: the file-kind dispatch and the raw dump of a buffer's lines.
#include <cstdio>

#include "buffer/queries.h"
#include "file/output_file.h"
#include "qvi.h"

namespace qvi::file {
namespace {

// Writes stride x height bytes from the data address, padding and all.
Status WriteRawDump(BufferHandle buffer, const char* path) {
  View image;
  // A finished dump returns the buffer library's status for the stride query, unexamined.
  Status stride_query_status = STATUS_OK;
  if (const Status s = buffer::AskForRawDump(buffer, &image, &stride_query_status); s != STATUS_OK) return s;

  FILE* stream = OpenForWriting(path);
  if (stream == nullptr) return STATUS_OPEN_FAILED;
  const uint32_t bytes = image.height * image.stride;  // modulo 2^32, as the dump is defined
  if (std::fwrite(image.address, 1, bytes, stream) < bytes) {
    CloseAfterFailure(stream);
    return STATUS_WRITE_FAILED;
  }
  if (std::fclose(stream) != 0) return STATUS_CLOSE_FAILED;
  return stride_query_status;
}

}  // namespace
}  // namespace qvi::file

extern "C" QVI_API Status QVI_FileWrite(BufferHandle buffer, const char* path, FileKind kind) {
  if (const Status s = qvi::buffer::AskForFileWrite(buffer); s != STATUS_OK) return s;
  if (kind == FILE_KIND_TIFF) return QVI_FileWriteTiff(buffer, path);
  if (kind != FILE_KIND_RAW) return STATUS_BAD_PARAMETER;
  return qvi::file::WriteRawDump(buffer, path);
}
