// The one place that decides which instruction set's kernels run.  The
// processor is asked once; every family (conversions, demosaicing,
// de-interlacing, file output) picks its kernels through Best() here, from
// tables its rows_<set>.cpp files define, one per set of buffer/isas.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "buffer/isas.h"

// QVI_ON_<architecture>(...) keeps its arguments in a build for that
// architecture and drops them in any other.
#if defined(__x86_64__)
#define QVI_ON_x86_64(...) __VA_ARGS__
#define QVI_ON_aarch64(...)
#elif defined(__aarch64__)
#define QVI_ON_x86_64(...)
#define QVI_ON_aarch64(...) __VA_ARGS__
#else
#define QVI_ON_x86_64(...)
#define QVI_ON_aarch64(...)
#endif

namespace qvi {

// Every set of the list, of whatever architecture, after the portable code.
enum class Isa : uint8_t {
  portable,
#define QVI_ENUMERATE(name, arch, flags, has, ...) name,
  QVI_INSTRUCTION_SETS(QVI_ENUMERATE)
#undef QVI_ENUMERATE
};

inline constexpr size_t kIsaCount = 1
#define QVI_COUNT(name, arch, flags, has, ...) +1
    QVI_INSTRUCTION_SETS(QVI_COUNT)
#undef QVI_COUNT
    ;

// The portable code, then the sets this build compiles, in rising order.
inline constexpr Isa kIsas[] = {
    Isa::portable,
#define QVI_BUILT(name, arch, flags, has, ...) QVI_ON_##arch(Isa::name, )
    QVI_INSTRUCTION_SETS(QVI_BUILT)
#undef QVI_BUILT
};

const char* NameOf(Isa isa);

// Whether the processor has what `isa` needs (false for a set this build
// does not compile; true for the portable code).
bool Runs(Isa isa);

// What the library runs: the last set of kIsas that Runs(), or the
// portable code in a build made with QVI_PORTABLE_ONLY.
Isa Chosen();

// A set of instruction sets.
class IsaSet {
 public:
  constexpr IsaSet() = default;
  constexpr IsaSet(std::initializer_list<Isa> isas) {
    for (Isa isa : isas) bits_ |= Bit(isa);
  }
  constexpr bool Has(Isa isa) const { return (bits_ & Bit(isa)) != 0; }
  constexpr IsaSet operator|(IsaSet other) const { return IsaSet(bits_ | other.bits_); }
  constexpr bool operator==(const IsaSet&) const = default;

 private:
  constexpr explicit IsaSet(uint32_t bits) : bits_(bits) {}
  static constexpr uint32_t Bit(Isa isa) { return 1u << static_cast<uint32_t>(isa); }
  uint32_t bits_ = 0;
};

// The best set of `covered` up to `ceiling` (sets rise with their place in
// the list), or the portable code when none is.
constexpr Isa Best(IsaSet covered, Isa ceiling) {
  for (auto i = static_cast<uint32_t>(ceiling); i > 0; --i)
    if (covered.Has(static_cast<Isa>(i))) return static_cast<Isa>(i);
  return Isa::portable;
}

// A family's kernel tables, by set: null for the portable code and for the
// sets of other architectures.
template <class Table>
using IsaTables = std::array<const Table*, kIsaCount>;

// Declares `<set>::object`, of type Table, for each set of this build's
// architecture: a family's kernels of that set, defined in its
// rows_<set>.cpp.
#define QVI_DECLARE_PER_SET(Table, object) QVI_INSTRUCTION_SETS(QVI_DECLARE_IN_SET, Table, object)
#define QVI_DECLARE_IN_SET(name, arch, flags, has, Table, object) \
  QVI_ON_##arch(namespace name { extern const Table object; })

// The IsaTables of the objects QVI_DECLARE_PER_SET declared.
#define QVI_TABLES_PER_SET(Table, object)                \
  [] {                                                   \
    ::qvi::IsaTables<Table> tables{};                    \
    QVI_INSTRUCTION_SETS(QVI_TABLE_OF_SET, object)       \
    return tables;                                       \
  }()
#define QVI_TABLE_OF_SET(name, arch, flags, has, object) \
  QVI_ON_##arch(tables[static_cast<size_t>(::qvi::Isa::name)] = &name::object;)

}  // namespace qvi
