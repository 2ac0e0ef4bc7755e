// The qvi program (QVI_TOOL) run as a user runs it, in a fresh folder of its
// own that is removed with everything in it.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/scratch_dir.h"

extern char** environ;

namespace qvi::test {

// Starts the shell command `command` (which may exec a program: it keeps the id).
inline pid_t StartShell(const std::string& command) {
  const char* argv[] = {"sh", "-c", command.c_str(), nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char**>(argv), environ) != 0)
    throw std::runtime_error("cannot start " + command);
  return pid;
}

// The exit status, or -1 if the process did not exit normally.
inline int WaitFor(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct QviResult {
  int exit_code;
  std::string out, err;
};

// A scratch folder (support/scratch_dir.h) to run qvi in.
class QviDir : public ScratchDir {
 public:
  QviDir() : ScratchDir("qvi") {}

  // Sorted names in the folder `sub` of this one, hidden ones included, qvi's output left out.
  std::vector<std::string> Entries(const std::string& sub = ".") const {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(*this / sub))
      if (!e.path().filename().string().starts_with(".qvi-")) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  // Starts qvi in this folder; the shell splits `args` into words.
  pid_t Start(const std::string& args) const {
    return StartShell("cd '" + path() + "' && exec '" QVI_TOOL "' " + args + " </dev/null >.qvi-out 2>.qvi-err");
  }
  QviResult Finish(pid_t pid) const {
    QviResult r{WaitFor(pid), {}, {}};
    for (auto [name, text] : {std::pair{".qvi-out", &r.out}, std::pair{".qvi-err", &r.err}}) {
      std::ifstream f(*this / name);
      text->assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
      std::filesystem::remove(*this / name);
    }
    return r;
  }
  QviResult Qvi(const std::string& args) const { return Finish(Start(args)); }
};

}  // namespace qvi::test
