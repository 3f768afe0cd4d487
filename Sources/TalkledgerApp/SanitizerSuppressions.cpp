// Compiled into sanitizer builds of the program and its tests only. What is left out here is Qt's and its neighbours'
// own: they are not instrumented, so the thread sanitizer does not see how they hand things from thread to thread.
// Libraries are named rather than functions, so that no symbolizer is needed. Our own code is in none of them.

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizer looks for this name.

/// Only calls that these libraries make themselves (malloc, free, locks, pipes) are left out.
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libQt6DBus.so\n"
           "called_from_lib:libQt6Gui.so\n"
           "called_from_lib:libQt6Qml.so\n"
           "called_from_lib:libQt6Quick.so\n"
           "called_from_lib:libdbus-1.so\n"
           "called_from_lib:libglib-2.0.so\n";
}

// NOLINTEND(bugprone-reserved-identifier)
