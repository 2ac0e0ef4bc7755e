// qvi: converts raw captures, de-interlaces fields, lists the pixel formats
// and runs the library's main job on a built-in capture; where Aravis is
// found, also grabs frames from cameras and lists them.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

#include "commands.h"
#include "error.h"
#include "formats.h"

namespace {

using namespace qvi::tool;

// Exit statuses: 0 done, 1 the work failed, 2 the command line was wrong.
constexpr int kFailed = 1, kUsage = 2;

const CLI::Validator kFormatName(
    [](const std::string& name) {
      return FindFormat(name) ? std::string() : name + " is not a pixel format; `qvi formats` lists them";
    },
    "FORMAT", "pixel format");

void AddRawInput(CLI::App* cmd, RawInputOptions& o, const char* input_help) {
  cmd->add_option("input", o.input, input_help)->required();
  cmd->add_option("-o,--output", o.output, "output file: .tif/.tiff, .png or .raw; numbered when the input has "
                                           "several frames")
      ->required();
  cmd->add_option("--width", o.width, "pixels a line")->required();
  cmd->add_option("--height", o.height, "lines a frame")->required();
  cmd->add_option("--stride", o.stride, "bytes from one line to the next (default: the line's pixels, no padding)");
  cmd->add_option("--format", o.format, "pixel format of the input, e.g. BAY12, Y8, YUV422")
      ->required()
      ->check(kFormatName);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("qvi - image processing for frame-grabber captures: converts raw captures (demosaicing Bayer "
               "mosaics), de-interlaces fields and writes TIFF, PNG or raw files.",
               "qvi");
  app.require_subcommand(1);
  app.footer("Run `qvi COMMAND --help` for the options of a command.  `qvi demo` needs no input.");

  ConvertOptions convert;
  CLI::App* convert_cmd = app.add_subcommand("convert", "convert a raw capture to another pixel format and write "
                                                        "it as TIFF, PNG or raw");
  AddRawInput(convert_cmd, convert, "raw capture: height x stride bytes a frame, no header, frames back to back");
  convert_cmd->add_option("--to", convert.to, "pixel format to convert to (default BGR24, Y8 for grey input)")
      ->check(kFormatName);
  convert_cmd->add_option("--method", convert.method, "demosaic method of Bayer input (default ave)")
      ->transform(CLI::IsMember({"dup", "ave", "med"}, CLI::ignore_case));
  convert_cmd->add_option("--phase", convert.phase,
                          "Bayer phase, the colours of the top-left 2 x 2 cell: A = R G / G B, B = G R / B G, "
                          "C = G B / R G, D = B G / G R (needed for Bayer input)")
      ->transform(CLI::IsMember({"A", "B", "C", "D"}, CLI::ignore_case));
  convert_cmd->footer(
      "Example:\n  qvi convert capture.raw --width 1024 --height 768 --format BAY12 --phase A --method med "
      "-o capture.tif\n\nTIFF and PNG files are written from Y8 or BGR24 pixels.");

  DeinterlaceOptions deinterlace;
  CLI::App* deinterlace_cmd =
      app.add_subcommand("deinterlace", "make full frames from the fields of a raw capture");
  AddRawInput(deinterlace_cmd, deinterlace, "raw fields: height x stride bytes a field, fields back to back");
  deinterlace_cmd->add_option("--method", deinterlace.method, "how missing lines are made (default bilinear)")
      ->transform(CLI::IsMember({"linedup", "lineave", "bilinear", "median"}, CLI::ignore_case));
  deinterlace_cmd->add_option("--parity", deinterlace.parity,
                              "odd: the field holds the frame's lines 1, 3, 5, ...; even: lines 0, 2, 4, ...")
      ->required()
      ->transform(CLI::IsMember({"odd", "even"}, CLI::ignore_case));
  deinterlace_cmd->footer(
      "Each field of H lines becomes a frame of 2H lines in the field's format.  bilinear and median take\n"
      "Y8, BGR24, RGB24, the 32-bit X formats and YUV422; linedup and lineave take any format.\n\nExample:\n"
      "  qvi deinterlace field.raw --width 720 --height 288 --format Y8 --parity even -o frame.tif");

  app.add_subcommand("formats", "list the pixel formats and the conversions between them");

  DemoOptions demo;
  CLI::App* demo_cmd = app.add_subcommand(
      "demo", "run the main job on a built-in capture: demosaic it three ways, de-interlace, write TIFF files");
  demo_cmd->add_option("--out", demo.out_dir, "folder for the files (created if missing)")
      ->capture_default_str();
  demo_cmd->add_option("--pictures", demo.pictures_dir,
                       "also write PNG pictures comparing the methods into this folder");

#ifdef QVI_WITH_ARAVIS
  // Discovery (--camera, qvi cameras) broadcasts on every interface; the
  // tests run it only inside a private network namespace (scripts/netns.sh).
  GrabOptions grab;
  CLI::App* grab_cmd = app.add_subcommand(
      "grab", "acquire frames from a GenICam camera (GigE Vision, USB3 Vision) and convert each as it arrives");
  CLI::Option* camera_opt = grab_cmd->add_option(
      "--camera", grab.camera, "the camera's name as `qvi cameras` lists it (found by discovery, which broadcasts "
                               "on every network interface)");
  CLI::Option* address_opt = grab_cmd->add_option(
      "--address", grab.address, "the IPv4 address of a GigE Vision camera, opened directly (no discovery)");
  camera_opt->excludes(address_opt);
  grab_cmd->add_option("--pixel-format", grab.pixel_format,
                       "the camera's pixel format by its PFNC name, e.g. BayerRG12p (default: as the camera is set)");
  grab_cmd->add_option("--width", grab.width, "frame width (a region at the sensor's top-left corner)")
      ->check(CLI::PositiveNumber);
  grab_cmd->add_option("--height", grab.height, "frame height")->check(CLI::PositiveNumber);
  grab_cmd->add_option("--fps", grab.fps, "frames per second to ask of the camera");
  grab_cmd->add_option("--frames", grab.frames, "stop after this many frames (default: run until Ctrl-C)");
  grab_cmd->add_option("--to", grab.to, "pixel format to convert to (default BGR24, Y8 for grey cameras)")
      ->check(kFormatName);
  grab_cmd->add_option("--method", grab.method, "demosaic method of Bayer frames (default ave)")
      ->transform(CLI::IsMember({"dup", "ave", "med"}, CLI::ignore_case));
  grab_cmd->add_option("--threads", grab.threads, "conversion threads (default: one per core)")
      ->check(CLI::Range(1u, 256u));
  grab_cmd->add_option("-o,--output", grab.output,
                       "write each frame: .tif/.tiff, .png or .raw, numbered (name-001.tif, ... with --frames, "
                       "name-000001.tif, ... without); without -o frames are only measured");
  grab_cmd->add_option("--timeout", grab.timeout, "seconds without a frame that end the run with an error")
      ->capture_default_str();
  grab_cmd->add_flag("--json", grab.json, "also print the summary as one JSON object, the last line of output");
  grab_cmd->footer(
      "Examples:\n  qvi grab --address 192.168.1.20 --pixel-format BayerRG12p --frames 100 -o frame.tif\n"
      "  qvi grab --camera Vendor-Model-0042 --fps 30 --json      (until Ctrl-C; measures only)\n\n"
      "Conversion runs on --threads workers over a ring of frames allocated once; when it falls behind,\n"
      "frames are dropped and counted.  Frames that lost packets are counted as incomplete and never\n"
      "converted.  Ctrl-C stops, finishes the frames in hand and keeps the files written.");
  app.add_subcommand("cameras", "list the cameras Aravis finds (discovery broadcasts on every network interface)");
  constexpr const char* kCommands = "convert, deinterlace, formats, demo, grab and cameras";
#else
  constexpr const char* kCommands = "convert, deinterlace, formats and demo";
#endif

  if (argc > 1 && argv[1][0] != '-' &&
      app.get_subcommands([&](CLI::App* cmd) { return cmd->check_name(argv[1]); }).empty()) {
    std::fprintf(stderr, "qvi: %s is not a command; the commands are %s (qvi --help)\n", argv[1], kCommands);
    return kUsage;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return kUsage;
  }

#ifdef QVI_WITH_ARAVIS
  if (*grab_cmd && !grab.camera && !grab.address) {
    std::fprintf(stderr, "qvi grab: give the camera as --camera NAME or --address IP (qvi grab --help)\n");
    return kUsage;
  }
#endif
  try {
    if (*convert_cmd) RunConvert(convert, std::cout);
    else if (*deinterlace_cmd) RunDeinterlace(deinterlace, std::cout);
    else if (*demo_cmd) RunDemo(demo, std::cout);
#ifdef QVI_WITH_ARAVIS
    else if (*grab_cmd) RunGrab(grab, std::cout);
    else if (app.got_subcommand("cameras")) RunCameras(std::cout);
#endif
    else RunFormats(std::cout);
  } catch (const Error& e) {
    std::cout.flush();
    std::fprintf(stderr, "qvi %s: error: %s\n", app.get_subcommands().front()->get_name().c_str(), e.what());
    return kFailed;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qvi: error: %s\n", e.what());
    return kFailed;
  }
  return 0;
}
