// Every conversion route of QVI_Convert as data, from the library's route
// table.
#pragma once

#include <vector>

#include "buffer/formats.h"

namespace qvi::test {

struct Route {
  Fmt src, dst;
  bool bayer;  // handed to a demosaic entry point
};

inline const std::vector<Route>& ConversionRoutes() {
  static const std::vector<Route> routes = {
#define QVI_COPY(S, D, ...) {Fmt::S, Fmt::D, false},
#define QVI_PIXELS(S, D, ...) {Fmt::S, Fmt::D, false},
#define QVI_BAYER(S, D) {Fmt::S, Fmt::D, true},
#include "convert/routes.def"
#undef QVI_COPY
#undef QVI_PIXELS
#undef QVI_BAYER
  };
  return routes;
}

}  // namespace qvi::test
