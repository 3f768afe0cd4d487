# Where the scripts unpack Boost's headers (scripts/common.sh) when the system's own are too old.
set(cache_home "$ENV{XDG_CACHE_HOME}")
if(cache_home STREQUAL "")
  set(cache_home "$ENV{HOME}/.cache")
endif()
list(APPEND CMAKE_PREFIX_PATH "${cache_home}/talkledger/boost/usr")

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(ICU 70 REQUIRED COMPONENTS uc i18n)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(Boost 1.81 QUIET)
if(NOT Boost_FOUND)
  message(FATAL_ERROR "Boost 1.81 or newer is missing: install libboost1.81-dev, or run a script in scripts/, which "
                      "unpacks its headers beside an older Boost.")
endif()
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Qml Quick QuickControls2 DBus Test)
find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)
pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET libavformat libavcodec libswresample libavutil)
pkg_check_modules(SOUNDTOUCH REQUIRED IMPORTED_TARGET soundtouch)
pkg_check_modules(POCKETSPHINX REQUIRED IMPORTED_TARGET pocketsphinx sphinxbase)
pkg_get_variable(POCKETSPHINX_MODELDIR pocketsphinx modeldir)

# Boost.Asio is compiled once (Support/Asio.cpp) instead of in every file that includes it.
add_library(TalkledgerAsio INTERFACE)
target_compile_definitions(TalkledgerAsio INTERFACE BOOST_ASIO_SEPARATE_COMPILATION BOOST_ASIO_NO_DEPRECATED)
target_link_libraries(TalkledgerAsio INTERFACE Boost::headers Threads::Threads)
if(TALKLEDGER_SANITIZE MATCHES thread)
  # The thread sanitizer does not see fences, which Asio's own reference counts end with; Boost's older ones do without.
  target_compile_definitions(TalkledgerAsio INTERFACE BOOST_ASIO_DISABLE_STD_ATOMIC)
endif()
