// Compiled into the programs and tests of sanitizer builds only. Libraries are named rather than functions, so that no
// symbolizer is needed.

#include <dlfcn.h>

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizers look for these names.

/// Qt's software renderer, which stands in for a graphics card in the tests, never frees the textures of its images.
/// Of our own code only what the library calls directly is left out with it, which is the icon provider.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libQt6Quick.so\n";
}

/// Whoever reads what a program says is to see reports and nothing else.
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}

/// These libraries are not instrumented: what they ask of the C library is seen, but not how they hand things from
/// thread to thread. Only calls that they make themselves (malloc, memcpy, locks, pipes) are left out: nothing that our
/// own code does is.
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:ld-linux\n"
           "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libQt6DBus.so\n"
           "called_from_lib:libQt6Gui.so\n"
           "called_from_lib:libQt6Qml.so\n"
           "called_from_lib:libQt6XcbQpa.so\n"
           "called_from_lib:libdbus-1.so\n"
           "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libicuuc.so\n"
           "called_from_lib:libxcb.so\n";
}

/// A library named above must not be unloaded, and PipeWire unloads this one with a module of its own.
[[maybe_unused]] static void* const keptLibrary = dlopen("libdbus-1.so.3", RTLD_LAZY | RTLD_NODELETE);

/// Nobody asks for a worker's exit status, so that what is found in it ends it at once, and with it the test.
extern "C" const char* __tsan_default_options() {
    return "halt_on_error=1:print_suppressions=0";
}

// NOLINTEND(bugprone-reserved-identifier)
