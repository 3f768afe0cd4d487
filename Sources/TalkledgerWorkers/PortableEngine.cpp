// For a portable build, whose engine is a set of libraries: the definitions of the program come before theirs.

#include <dlfcn.h>
#include <ggml-backend.h>

#include <filesystem>

/// The engine's own looks for the processor's part beside the program, where both engines' parts would meet. They lie
/// beside its libraries instead.
void ggml_backend_load_all() {
    Dl_info library{};
    if (ggml_backend_reg_count() == 0 && dladdr(dlsym(RTLD_NEXT, "ggml_backend_load_all"), &library) != 0) {
        ggml_backend_load_all_from_path(std::filesystem::path(library.dli_fname).parent_path().c_str());
    }
}
