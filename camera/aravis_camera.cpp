#include "aravis_camera.h"

#include <arpa/inet.h>
#include <arv.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace qvi::camera {
namespace {

// The message of `error`, which is freed.
std::string Take(GError* error) {
  std::string message = error && error->message ? error->message : "no reason given";
  g_clear_error(&error);
  return message;
}

void Check(GError* error, const std::string& what) {
  if (error) throw CameraError(what + ": " + Take(error));
}

std::string Text(const char* s) { return s ? s : ""; }

std::string Number(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

bool SameName(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

std::string Join(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& n : names) {
    if (!text.empty()) text += ", ";
    text += n;
  }
  return text.empty() ? "none" : text;
}

// The IPv4 address of this machine's interface on the subnet of `target`.
in_addr LocalAddressFor(const in_addr& target, const std::string& address) {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) throw CameraError("the network interfaces of this machine cannot be listed");
  std::optional<in_addr> found;
  for (const ifaddrs* i = list; i && !found; i = i->ifa_next) {
    if (!i->ifa_addr || !i->ifa_netmask || i->ifa_addr->sa_family != AF_INET) continue;
    const in_addr local = reinterpret_cast<const sockaddr_in*>(i->ifa_addr)->sin_addr;
    const in_addr mask = reinterpret_cast<const sockaddr_in*>(i->ifa_netmask)->sin_addr;
    if (((local.s_addr ^ target.s_addr) & mask.s_addr) == 0) found = local;
  }
  freeifaddrs(list);
  if (!found) throw CameraError("no network interface of this machine is on the subnet of " + address);
  return *found;
}

}  // namespace

std::vector<CameraListing> DiscoverCameras() {
  arv_update_device_list();
  std::vector<CameraListing> cameras;
  for (unsigned i = 0; i < arv_get_n_devices(); ++i)
    cameras.push_back({Text(arv_get_device_id(i)), Text(arv_get_device_vendor(i)), Text(arv_get_device_model(i)),
                       Text(arv_get_device_serial_nbr(i)), Text(arv_get_device_address(i)),
                       Text(arv_get_device_protocol(i))});
  return cameras;
}

std::unique_ptr<AravisCamera> AravisCamera::Open(const std::string& name) {
  GError* error = nullptr;
  ArvCamera* camera = arv_camera_new(name.c_str(), &error);
  if (!camera)
    throw CameraError("no camera named " + name + " was found (" + Take(error) + "); `qvi cameras` lists them");
  return std::unique_ptr<AravisCamera>(new AravisCamera(camera));
}

std::unique_ptr<AravisCamera> AravisCamera::OpenAddress(const std::string& address) {
  in_addr target{};
  if (inet_pton(AF_INET, address.c_str(), &target) != 1) throw CameraError(address + " is not an IPv4 address");
  const in_addr local = LocalAddressFor(target, address);
  GInetAddress* interface_address =
      g_inet_address_new_from_bytes(reinterpret_cast<const guint8*>(&local), G_SOCKET_FAMILY_IPV4);
  GInetAddress* device_address =
      g_inet_address_new_from_bytes(reinterpret_cast<const guint8*>(&target), G_SOCKET_FAMILY_IPV4);
  GError* error = nullptr;
  ArvDevice* device = arv_gv_device_new(interface_address, device_address, &error);
  g_object_unref(interface_address);
  g_object_unref(device_address);
  if (!device) throw CameraError("no GigE Vision camera answered at " + address + " (" + Take(error) + ")");
  ArvCamera* camera = arv_camera_new_with_device(device, &error);
  g_object_unref(device);
  if (!camera) throw CameraError("the camera at " + address + " cannot be used: " + Take(error));
  return std::unique_ptr<AravisCamera>(new AravisCamera(camera));
}

std::unique_ptr<AravisCamera> AravisCamera::OpenInProcessFake() {
  for (unsigned i = 0; i < arv_get_n_interfaces(); ++i) {
    const char* id = arv_get_interface_id(i);
    if (std::strcmp(id, "Fake") == 0)
      arv_enable_interface(id);
    else
      arv_disable_interface(id);
  }
  GError* error = nullptr;
  ArvCamera* camera = arv_camera_new("Fake_1", &error);
  if (!camera) throw CameraError("Aravis's fake camera cannot be opened: " + Take(error));
  return std::unique_ptr<AravisCamera>(new AravisCamera(camera));
}

AravisCamera::~AravisCamera() { g_object_unref(camera_); }

std::string AravisCamera::Describe() const {
  std::string text;
  for (const char* part : {arv_camera_get_vendor_name(camera_, nullptr), arv_camera_get_model_name(camera_, nullptr),
                           arv_camera_get_device_serial_number(camera_, nullptr)})
    if (part && *part) {
      if (!text.empty()) text += ' ';
      text += part;
    }
  return text.empty() ? "the camera" : text;
}

std::vector<std::string> AravisCamera::OfferedFormats() const {
  GError* error = nullptr;
  guint count = 0;
  const char** names = arv_camera_dup_available_pixel_formats_as_strings(camera_, &count, &error);
  Check(error, "the camera's pixel formats cannot be read");
  std::vector<std::string> offered;
  for (guint i = 0; i < count; ++i) offered.push_back(Text(names[i]));
  g_free(names);
  return offered;
}

uint32_t AravisCamera::PixelFormat() const {
  GError* error = nullptr;
  const ArvPixelFormat code = arv_camera_get_pixel_format(camera_, &error);
  Check(error, "the camera's pixel format cannot be read");
  return code;
}

void AravisCamera::SetPixelFormat(const std::string& name) {
  const std::vector<std::string> offered = OfferedFormats();
  const auto match = std::find_if(offered.begin(), offered.end(), [&](const std::string& o) { return SameName(o, name); });
  if (match == offered.end())
    throw CameraError("the camera does not offer the pixel format " + name + "; it offers " + Join(offered));
  GError* error = nullptr;
  arv_camera_set_pixel_format_from_string(camera_, match->c_str(), &error);
  Check(error, "the camera refused the pixel format " + *match);
}

uint32_t AravisCamera::Width() const {
  gint x = 0, y = 0, width = 0, height = 0;
  arv_camera_get_region(camera_, &x, &y, &width, &height, nullptr);
  return static_cast<uint32_t>(std::max(width, 0));
}

uint32_t AravisCamera::Height() const {
  gint x = 0, y = 0, width = 0, height = 0;
  arv_camera_get_region(camera_, &x, &y, &width, &height, nullptr);
  return static_cast<uint32_t>(std::max(height, 0));
}

void AravisCamera::SetSize(uint32_t width, uint32_t height) {
  gint min_w = 0, max_w = 0, min_h = 0, max_h = 0;
  arv_camera_get_width_bounds(camera_, &min_w, &max_w, nullptr);
  arv_camera_get_height_bounds(camera_, &min_h, &max_h, nullptr);
  if (width < static_cast<uint32_t>(std::max(min_w, 0)) || width > static_cast<uint32_t>(std::max(max_w, 0)))
    throw CameraError("a width of " + std::to_string(width) + " is outside the camera's range " +
                      std::to_string(min_w) + ".." + std::to_string(max_w));
  if (height < static_cast<uint32_t>(std::max(min_h, 0)) || height > static_cast<uint32_t>(std::max(max_h, 0)))
    throw CameraError("a height of " + std::to_string(height) + " is outside the camera's range " +
                      std::to_string(min_h) + ".." + std::to_string(max_h));
  GError* error = nullptr;
  arv_camera_set_region(camera_, 0, 0, static_cast<gint>(width), static_cast<gint>(height), &error);
  Check(error, "the camera refused the size " + std::to_string(width) + " x " + std::to_string(height));
  if (Width() != width || Height() != height)
    throw CameraError("the camera took the size " + std::to_string(width) + " x " + std::to_string(height) + " as " +
                      std::to_string(Width()) + " x " + std::to_string(Height()) + " (its width steps by " +
                      std::to_string(arv_camera_get_width_increment(camera_, nullptr)) + ", its height by " +
                      std::to_string(arv_camera_get_height_increment(camera_, nullptr)) + ")");
}

void AravisCamera::SetFrameRate(double fps) {
  GError* error = nullptr;
  if (!arv_camera_is_frame_rate_available(camera_, &error)) {
    g_clear_error(&error);
    throw CameraError("the camera has no frame rate to set");
  }
  double min = 0, max = 0;
  arv_camera_get_frame_rate_bounds(camera_, &min, &max, nullptr);
  if (fps < min || fps > max)
    throw CameraError("a frame rate of " + Number(fps) + " is outside the camera's range " + Number(min) + ".." +
                      Number(max));
  arv_camera_set_frame_rate(camera_, fps, &error);
  Check(error, "the camera refused the frame rate " + Number(fps));
}

size_t AravisCamera::PayloadBytes() const {
  GError* error = nullptr;
  const guint payload = arv_camera_get_payload(camera_, &error);
  Check(error, "the camera's frame size cannot be read");
  return payload;
}

PipelineSettings CameraStream::StreamSettings(const AravisCamera& camera, PipelineSettings settings) {
  settings.format = &CameraFormatOf(camera.PixelFormat());
  settings.width = camera.Width();
  settings.height = camera.Height();
  const std::optional<uint32_t> line = CameraLineBytes(*settings.format, settings.width);
  settings.raw_stride = settings.format->packing == Packing::kNone ? line.value_or(0) : 0;
  const std::optional<uint64_t> frame = CameraFrameBytes(*settings.format, settings.width, settings.height);
  settings.raw_bytes = std::max<size_t>(camera.PayloadBytes(), frame.value_or(0));
  return settings;
}

CameraStream::CameraStream(AravisCamera& camera, const PipelineSettings& settings, Pipeline::Sink sink)
    : camera_(camera), settings_(settings), gige_(arv_camera_is_gv_device(camera.handle())) {
  GError* error = nullptr;
  stream_ = arv_camera_create_stream(camera_.handle(), nullptr, nullptr, &error);
  if (!stream_) throw CameraError("the camera's stream cannot be opened: " + Take(error));
  try {
    pipeline_ = std::make_unique<Pipeline>(settings_, std::move(sink), [this](Frame& frame) { GiveBack(frame); });
  } catch (...) {
    g_object_unref(stream_);
    throw;
  }
  for (Frame& frame : pipeline_->frames()) {
    ArvBuffer* buffer = arv_buffer_new_full(frame.size(), frame.data(), &frame, nullptr);
    frame.tag = buffer;
    arv_stream_push_buffer(stream_, buffer);
  }
}

CameraStream::~CameraStream() {
  try {
    Stop();
  } catch (...) {
    // Whoever wanted the failure has had it from Stop().
  }
  // Every frame is back in the stream now; the stream frees the buffers
  // (not their memory, which is the pipeline's).
  g_object_unref(stream_);
  pipeline_.reset();
}

void CameraStream::Start() {
  GError* error = nullptr;
  arv_camera_set_acquisition_mode(camera_.handle(), ARV_ACQUISITION_MODE_CONTINUOUS, &error);
  Check(error, "the camera refused continuous acquisition");
  arv_camera_start_acquisition(camera_.handle(), &error);
  Check(error, "the camera did not start acquiring");
  running_ = true;
}

void CameraStream::Stop() {
  if (running_) {
    running_ = false;
    arv_camera_stop_acquisition(camera_.handle(), nullptr);
    CountDrops();
  }
  pipeline_->Finish();
}

void CameraStream::CountDrops() {
  if (gige_) return;  // counted from the frame numbers instead
  guint64 completed = 0, failures = 0, underruns = 0;
  arv_stream_get_statistics(stream_, &completed, &failures, &underruns);
  if (underruns > underruns_) pipeline_->CountDropped(underruns - underruns_);
  underruns_ = std::max<uint64_t>(underruns_, underruns);
}

void CameraStream::CountSkipped(uint64_t id) {
  // GigE Vision numbers frames 1 to 65535 and then 1 again (0 is no number),
  // or with 64 bits.  A frame Aravis had no buffer for never reaches here:
  // it shows as a gap before the next one.
  // A frame arriving after a later one (a late resend) moves nothing back.
  if (!gige_ || id == 0) return;
  const bool wrapped = last_id_ > 0xFF00 && last_id_ <= 0xFFFF && id < 0x100;
  if (last_id_ != 0 && id <= last_id_ && !wrapped) return;
  if (last_id_ != 0) {
    const uint64_t gap = wrapped ? (0xFFFF - last_id_) + (id - 1) : id - last_id_ - 1;
    if (gap) pipeline_->CountDropped(gap);
  }
  last_id_ = id;
}

CameraStream::Popped CameraStream::Next(std::chrono::milliseconds wait) {
  ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream_, static_cast<guint64>(wait.count()) * 1000);
  CountDrops();
  if (!buffer) return {Outcome::kNothing, nullptr};
  Frame& frame = *static_cast<Frame*>(const_cast<void*>(arv_buffer_get_user_data(buffer)));
  // A frame that lost packets keeps whatever the buffer held before in the
  // gaps: it is never handed on.
  size_t size = 0;
  const void* data = arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS
                         ? arv_buffer_get_image_data(buffer, &size)
                         : nullptr;
  const uint64_t id = arv_buffer_get_frame_id(buffer);
  CountSkipped(id);
  const std::optional<uint64_t> needed = CameraFrameBytes(*settings_.format, settings_.width, settings_.height);
  if (!data || size < needed.value_or(0)) {
    pipeline_->Reject(frame);
    return {Outcome::kIncomplete, nullptr};
  }
  const uint32_t width = static_cast<uint32_t>(arv_buffer_get_image_width(buffer));
  const uint32_t height = static_cast<uint32_t>(arv_buffer_get_image_height(buffer));
  const uint32_t format = arv_buffer_get_image_pixel_format(buffer);
  gint x_padding = 0, y_padding = 0;
  arv_buffer_get_image_padding(buffer, &x_padding, &y_padding);
  if (width != settings_.width || height != settings_.height || format != settings_.format->code ||
      x_padding != 0 || data != frame.data()) {
    GiveBack(frame);
    throw CameraError("the camera sent a " + std::to_string(width) + " x " + std::to_string(height) + " " +
                      DescribePixelFormat(format) + " frame" + (x_padding ? " with padded lines" : "") +
                      " while set to " + std::to_string(settings_.width) + " x " +
                      std::to_string(settings_.height) + " " + std::string(settings_.format->name));
  }
  frame.camera_id = id;
  return {Outcome::kFrame, &frame};
}

void CameraStream::GiveBack(Frame& frame) { arv_stream_push_buffer(stream_, static_cast<ArvBuffer*>(frame.tag)); }

}  // namespace qvi::camera
