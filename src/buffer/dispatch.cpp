#include "buffer/dispatch.h"

namespace qvi {
namespace {

#if defined(__x86_64__)
#define QVI_CPU(feature) __builtin_cpu_supports(feature)
#endif

struct Probe {
  bool runs[kIsaCount] = {};
  Isa best = Isa::portable;
  Probe() {
#if defined(__x86_64__)
    __builtin_cpu_init();
#endif
    runs[0] = true;
#define QVI_ASK(name, arch, flags, has, ...) QVI_ON_##arch(runs[static_cast<size_t>(Isa::name)] = (has);)
    QVI_INSTRUCTION_SETS(QVI_ASK)
#undef QVI_ASK
#if !defined(QVI_PORTABLE_ONLY)
    for (Isa isa : kIsas)
      if (runs[static_cast<size_t>(isa)]) best = isa;
#endif
  }
};

// Asked once, the first time any call needs it.
const Probe& TheProbe() {
  static const Probe probe;
  return probe;
}

}  // namespace

const char* NameOf(Isa isa) {
  static constexpr const char* kNames[] = {
      "portable",
#define QVI_NAME(name, arch, flags, has, ...) #name,
      QVI_INSTRUCTION_SETS(QVI_NAME)
#undef QVI_NAME
  };
  return kNames[static_cast<size_t>(isa)];
}

bool Runs(Isa isa) { return TheProbe().runs[static_cast<size_t>(isa)]; }

Isa Chosen() { return TheProbe().best; }

}  // namespace qvi
