// Compiled into sanitizer builds of the program and its tests only. Libraries are named rather than functions, so that
// no symbolizer is needed.

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizers look for these names.

/// Qt's software renderer, which stands in for a graphics card in the tests, never frees the textures of its images.
/// Of our own code only what the library calls directly is left out with it, which is the icon provider.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libQt6Quick.so\n";
}

/// Qt and its neighbours are not instrumented: what they ask of the C library is seen, but not how they hand things
/// from thread to thread. Only calls that these libraries make themselves (malloc, memcpy, locks, pipes) are left out:
/// nothing that our own code does is.
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libQt6DBus.so\n"
           "called_from_lib:libQt6Qml.so\n"
           "called_from_lib:libQt6XcbQpa.so\n"
           "called_from_lib:libdbus-1.so\n"
           "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libxcb.so\n";
}

// NOLINTEND(bugprone-reserved-identifier)
