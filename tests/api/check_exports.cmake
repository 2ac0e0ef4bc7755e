# Compares the dynamic symbols a shared library defines with the functions
# its public header declares with QVI_API.  Run with -DNM= -DLIBRARY= -DHEADER=.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE defined RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
execute_process(COMMAND ${NM} -D --undefined-only ${LIBRARY} OUTPUT_VARIABLE undefined)

file(READ ${HEADER} header)
string(REGEX MATCHALL "\nQVI_API [^;(]*[ *]([A-Za-z_][A-Za-z0-9_]*)\\(" declared "${header}")
list(TRANSFORM declared REPLACE ".*[ *]([A-Za-z_][A-Za-z0-9_]*)\\($" "\\1")
list(SORT declared)

string(REGEX MATCHALL "[0-9a-f]+ [TtWwDdBbRrVvi] [^\n]+" exported "${defined}")
list(TRANSFORM exported REPLACE "^[0-9a-f]+ . " "")
list(SORT exported)

if(NOT exported STREQUAL declared)
  set(extra ${exported})
  list(REMOVE_ITEM extra ${declared})
  set(missing ${declared})
  list(REMOVE_ITEM missing ${exported})
  message(FATAL_ERROR "exports differ from the header\n  not declared: ${extra}\n  not exported: ${missing}")
endif()
if(NOT undefined MATCHES "U QVB_BufferParameterGet")
  message(FATAL_ERROR "QVB_BufferParameterGet must be imported, not defined")
endif()
list(LENGTH declared count)
message(STATUS "${count} exported functions match the header")
