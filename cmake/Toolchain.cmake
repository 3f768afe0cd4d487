# Language level, warnings, sanitizers and compiler cache: everything that holds for every target.

if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # g++ 12 destroys temporaries twice in full expressions with co_await; the presets choose clang 16.
  message(FATAL_ERROR "Build with clang 16: use a preset (cmake --preset release), or scripts/run.")
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

find_program(CCACHE ccache)
if(CCACHE)
  # Relative paths below the source tree, so that a fresh clone finds what another one compiled.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE})
endif()
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)

find_program(LLD NAMES ld.lld-16 ld.lld)
if(LLD)
  add_link_options(--ld-path=${LLD})
endif()

if(TALKLEDGER_SANITIZE)
  add_compile_options(-fsanitize=${TALKLEDGER_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TALKLEDGER_SANITIZE})
endif()

# Our own targets link this; what other projects generate (moc, QML caches) does not have to be as clean.
add_library(TalkledgerWarnings INTERFACE)
target_compile_options(TalkledgerWarnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
                                                    $<$<BOOL:${TALKLEDGER_WERROR}>:-Werror>)
