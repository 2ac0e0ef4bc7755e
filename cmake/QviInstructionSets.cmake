# The instruction sets with kernels of their own, from src/buffer/isas.h:
# those of the target's architecture are QVI_ISAS, in rising order (the first
# is the architecture's baseline), each with its compiler flags in
# QVI_ISA_FLAGS_<set>.
file(READ ${PROJECT_SOURCE_DIR}/src/buffer/isas.h qvi_isa_text)
string(REGEX MATCHALL "X\\([a-z0-9_]+, [a-z0-9_]+, \"[^\"]*\"" qvi_isa_entries "${qvi_isa_text}")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(qvi_architecture x86_64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64|ARM64)$")
  set(qvi_architecture aarch64)
else()
  set(qvi_architecture none)
endif()
set(QVI_ISAS "")
foreach(entry IN LISTS qvi_isa_entries)
  string(REGEX MATCH "X\\(([a-z0-9_]+), ([a-z0-9_]+), \"([^\"]*)\"" _ "${entry}")
  if(CMAKE_MATCH_2 STREQUAL qvi_architecture)
    list(APPEND QVI_ISAS ${CMAKE_MATCH_1})
    separate_arguments(QVI_ISA_FLAGS_${CMAKE_MATCH_1} UNIX_COMMAND "${CMAKE_MATCH_3}")
  endif()
endforeach()
message(STATUS "qvi: kernels for ${qvi_architecture}: ${QVI_ISAS}")

