// GenICam cameras through Aravis: finding and opening one, setting it up, and
// feeding its stream into a Pipeline without copying a frame.
//
// Discovery (DiscoverCameras, AravisCamera::Open) broadcasts on every network
// interface of the machine; OpenAddress talks to one address only.  This
// project runs both, and Aravis's fake GigE Vision camera, only inside a
// private network namespace that holds nothing but loopback
// (scripts/netns.sh).  OpenInProcessFake needs no network at all.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "pipeline.h"

extern "C" {
typedef struct _ArvCamera ArvCamera;
typedef struct _ArvStream ArvStream;
}

namespace qvi::camera {

// Everything that goes wrong with a camera: not found, not reachable, a
// setting it refuses, a stream that stops.  The message is for the user.
class CameraError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CameraListing {
  std::string id, vendor, model, serial, address, protocol;
};

// The cameras Aravis finds on every interface (it broadcasts).
std::vector<CameraListing> DiscoverCameras();

class AravisCamera {
 public:
  // By Aravis's name for it (an id of DiscoverCameras, a serial number, an
  // address): discovery.
  static std::unique_ptr<AravisCamera> Open(const std::string& name);
  // The GigE Vision camera at an IPv4 address, through the interface of this
  // machine on its subnet: no discovery.
  static std::unique_ptr<AravisCamera> OpenAddress(const std::string& address);
  // Aravis's in-process fake camera "Fake_1", with every other interface of
  // Aravis turned off for this process.
  static std::unique_ptr<AravisCamera> OpenInProcessFake();

  ~AravisCamera();
  AravisCamera(const AravisCamera&) = delete;
  AravisCamera& operator=(const AravisCamera&) = delete;

  std::string Describe() const;  // "Aravis Fake GV01"
  // The PFNC names of the pixel formats the camera offers.
  std::vector<std::string> OfferedFormats() const;
  uint32_t PixelFormat() const;
  // Sets the pixel format by PFNC name; a format the camera does not offer
  // is an error naming the ones it does.
  void SetPixelFormat(const std::string& name);
  uint32_t Width() const;
  uint32_t Height() const;
  // A region of width x height at the top-left corner of the sensor.
  void SetSize(uint32_t width, uint32_t height);
  void SetFrameRate(double fps);
  size_t PayloadBytes() const;

  ArvCamera* handle() const { return camera_; }

 private:
  explicit AravisCamera(ArvCamera* camera) : camera_(camera) {}
  ArvCamera* camera_;
};

// The camera's stream feeding a pipeline of its own: each frame's memory is
// pushed into the stream as an Aravis buffer, filled by Aravis, popped here
// and handed to the pipeline, which pushes it back once converted.  A frame
// the stream has no buffer for is dropped by Aravis and counted here: for a
// GigE Vision camera from the gaps in the frame numbers (Aravis counts each
// ignored packet), for the others from Aravis's count of frames without a
// buffer.
class CameraStream {
 public:
  // The settings' format, size and raw frames must be the camera's
  // (StreamSettings fills them in).
  CameraStream(AravisCamera& camera, const PipelineSettings& settings, Pipeline::Sink sink);
  // Stops acquisition, finishes the pipeline (its frames must be back in the
  // stream before the stream goes) and ends the stream.
  ~CameraStream();
  CameraStream(const CameraStream&) = delete;
  CameraStream& operator=(const CameraStream&) = delete;

  // `settings` with the camera's format, size and payload filled in; throws
  // UnsupportedFormat for a pixel format qvi does not take.
  static PipelineSettings StreamSettings(const AravisCamera& camera, PipelineSettings settings);

  Pipeline& pipeline() { return *pipeline_; }
  void Start();
  // Stops acquisition and waits for the frames in hand (rethrowing a
  // failure of the pipeline).
  void Stop();

  enum class Outcome { kFrame, kIncomplete, kNothing };
  struct Popped {
    Outcome outcome;
    Frame* frame;  // kFrame: a complete frame, to Submit() to the pipeline or GiveBack()
  };
  // Waits up to `wait` for the next buffer.  A complete frame is checked
  // against the camera's settings (a frame of another size or format is a
  // CameraError); an incomplete one (lost packets, ...) is counted and
  // recycled at once; Aravis's drops are added to the pipeline's count.
  Popped Next(std::chrono::milliseconds wait);
  // Returns a complete frame to the stream without converting it.
  void GiveBack(Frame& frame);

 private:
  void CountDrops();
  void CountSkipped(uint64_t id);

  AravisCamera& camera_;
  const PipelineSettings settings_;
  const bool gige_;
  uint64_t last_id_ = 0;
  ArvStream* stream_ = nullptr;
  std::unique_ptr<Pipeline> pipeline_;
  uint64_t underruns_ = 0;
  bool running_ = false;
};

}  // namespace qvi::camera
