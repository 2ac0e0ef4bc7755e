// QVI_FileWriteTiff: checks the buffer, then streams the file front to back
// from the layout tables.  Offsets of the blocks after the directory are
// written as 0 at first; each place is remembered with ftell and patched with
// fseek once the block it points at has been placed.  A stream that stands
// where a new file would gets the offsets in place instead (see Positions).
#include <array>
#include <cstdio>

#include "buffer/queries.h"
#include "file/output_file.h"
#include "file/tiff_layout.h"
#include "file/tiff_strip.h"
#include "file/tiff_writer.h"
#include "qvi.h"

namespace qvi::file::tiff {
namespace {

uint32_t ValueOf(const Entry& entry, const Layout& layout, const View& image) {
  switch (entry.value) {
    case Value::Constant: return entry.constant;
    case Value::WidthAsShort: return image.width & 0xFFFFu;
    case Value::HeightAsShort: return image.height & 0xFFFFu;
    case Value::Height: return image.height;
    case Value::StripBytes: return image.width * image.height * layout.samples;
    case Value::Offset: break;
  }
  return 0;
}

void PutValue(FILE* stream, Type type, uint32_t value) {
  if (type == Type::Short) {
    QVI_fput_ui16m(stream, value);
  } else {
    QVI_fput_ui32m(stream, value);
  }
}

// A value inside a directory entry: a SHORT fills the first half of the
// 4-byte field, followed by two zero bytes.
void PutEntryValue(FILE* stream, Type type, uint32_t value) {
  PutValue(stream, type, value);
  if (type == Type::Short) QVI_fput_ui16m(stream, 0);
}

// Where the stream stands at each offset field and block.  The first answer
// of ftell decides: a stream that stands where a new file would (the common
// case) counts from the file's start, so every later position follows from
// the bytes written and every block lands at its place in the layout.  Such
// a stream takes each offset as the directory is written, with the bytes
// patching would leave, and without the two seeks per block (each a flush
// and a system call: on a small image they cost more than the pixels).  Any
// other stream (one that cannot tell, or counts from elsewhere) is asked each
// time and patched.
class Positions {
 public:
  long At(uint32_t place_in_new_file, FILE* stream) {
    if (state_ == State::FromStart) return static_cast<long>(place_in_new_file);
    const long at = std::ftell(stream);
    if (state_ == State::Unasked) {
      state_ = at == static_cast<long>(place_in_new_file) ? State::FromStart : State::Elsewhere;
    }
    return at;
  }
  bool CountFromStart() const { return state_ == State::FromStart; }

 private:
  enum class State : uint8_t { Unasked, FromStart, Elsewhere };
  State state_ = State::Unasked;
};

}  // namespace

Status WriteTiff(FILE* stream, const View& image) {
  const uint32_t format = image.format;
  QVI_fput_ui16m(stream, kByteOrderMotorola);
  QVI_fput_ui16m(stream, kMagic);
  QVI_fput_ui32m(stream, kDirectoryOffset);

  const Layout* layout = FindLayout(format);
  if (layout == nullptr) {
    DropFormatMessage(format, "IFD");
    return STATUS_BAD_FORMAT;
  }
  const Directory directory = DirectoryFor(*layout);
  QVI_fput_ui16m(stream, directory.count);

  std::array<long, kBlockKinds> placeholder{};
  Positions positions;
  for (uint16_t i = 0; i < directory.count; ++i) {
    const Entry& entry = directory.entries[i];
    QVI_fput_ui16m(stream, entry.tag);
    QVI_fput_ui16m(stream, static_cast<uint16_t>(entry.type));
    QVI_fput_ui32m(stream, entry.count);
    if (entry.value == Value::Offset) {
      const long at = positions.At(ValueFieldOffset(i), stream);
      if (at == -1) return STATUS_BAD_BUFFER;
      placeholder[static_cast<unsigned>(entry.block)] = at;
      // A file given up before its blocks keeps the 0.
      const bool in_place = positions.CountFromStart() && !layout->stops_after_strip_byte_counts;
      QVI_fput_ui32m(stream, in_place ? BlockOffset(*layout, entry.block) : 0);
      continue;
    }
    PutEntryValue(stream, entry.type, ValueOf(entry, *layout, image));
    if (entry.tag == kTagStripByteCounts && layout->stops_after_strip_byte_counts) {
      DropFormatMessage(format, "StripByteCount");
      return STATUS_BAD_BUFFER;
    }
  }
  QVI_fput_ui32m(stream, 0);  // no further directory

  for (unsigned b = 0; b < kBlockKinds; ++b) {
    const auto block = static_cast<Block>(b);
    if (!directory.Has(block)) continue;
    const long at = positions.At(BlockOffset(*layout, block), stream);
    if (at == -1) return STATUS_BAD_BUFFER;
    const BlockContent content = ContentOf(*layout, block);
    for (uint32_t v = 0; v < content.count; ++v) PutValue(stream, content.type, content.values[v]);
    if (positions.CountFromStart()) continue;  // its offset is in place
    std::fseek(stream, placeholder[b], SEEK_SET);
    QVI_fput_ui32m(stream, static_cast<uint32_t>(at));
    std::fseek(stream, at + static_cast<long>(content.Bytes()), SEEK_SET);
  }
  WriteStrip(stream, image, layout->pixels, Chosen());
  return STATUS_OK;
}

}  // namespace qvi::file::tiff

extern "C" QVI_API Status QVI_FileWriteTiff(BufferHandle buffer, const char* path) {
  using namespace qvi;
  View image;  // its address may be null: see WriteStrip
  if (const Status s = buffer::AskForTiff(buffer, &image); s != STATUS_OK) return s;

  file::StreamBuffer stream_buffer;  // outlives the stream: each path below closes it
  FILE* stream = file::OpenForWriting(path);
  if (stream == nullptr) return STATUS_OPEN_FAILED;
  file::UseStreamBuffer(stream, stream_buffer);
  if (const Status status = file::tiff::WriteTiff(stream, image); status != STATUS_OK) {
    file::CloseAfterFailure(stream);
    return status;
  }
  // Writes are not checked one by one.  The stream remembers a failed write,
  // and that fails the close step just as a failing fclose does: pixels go
  // out in blocks, so a full disk need not leave bytes behind for fclose.
  const bool write_failed = std::ferror(stream) != 0;
  if (std::fclose(stream) != 0 || write_failed) return STATUS_CLOSE_FAILED;
  return STATUS_OK;
}
