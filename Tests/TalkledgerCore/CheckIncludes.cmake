# Fails when a file of the core includes anything but the core itself, the standard library, Boost, nlohmann/json and,
# where text is handled, ICU; so that it stays free of Qt, the sound server, codecs, engines and the operating system.
#
#   cmake -DCORE=<folder of the core> -P CheckIncludes.cmake

set(allowed [["TalkledgerCore/|<[a-z_]+>|<boost/|<nlohmann/]])
file(GLOB_RECURSE files RELATIVE "${CORE}" "${CORE}/*.h" "${CORE}/*.cpp" "${CORE}/*.inc")
if(NOT files)
  message(FATAL_ERROR "There are no sources in ${CORE}.")
endif()

set(faults "")
foreach(file IN LISTS files)
  file(STRINGS "${CORE}/${file}" includes REGEX "^[ \t]*#[ \t]*(include|import)|^[ \t]*(export )?import ")
  foreach(include IN LISTS includes)
    if(include MATCHES "^[ \t]*#[ \t]*include[ \t]*(${allowed})")
      continue()
    endif()
    if(file STREQUAL "Support/Text.cpp" AND include MATCHES "<unicode/")
      continue()
    endif()
    string(APPEND faults "\n  ${file}: ${include}")
  endforeach()
endforeach()
if(faults)
  message(FATAL_ERROR "The core may not include these. Put what needs them behind a port:${faults}")
endif()
