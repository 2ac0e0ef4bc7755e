// The one error type of the tool: a message for the user, already worded.
#pragma once

#include <stdexcept>
#include <string>

namespace qvi::tool {

// Thrown for everything that ends a command: bad arguments, unreadable input,
// a library call that failed.  main() prints what() and exits non-zero.
class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace qvi::tool
