#include "oltmgrd/module/module.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "oltmgrd/files/errors.h"

namespace oltmgrd {
namespace {

constexpr const char* kModuleFile = "libonuqos.so";

void* load(const std::string& path) {
    if (::access(path.c_str(), R_OK) != 0) {
        throw StartError("module " + path + ": " + std::strerror(errno) + "; give its path with --module");
    }
    // A name without a slash would be looked for where libraries are installed.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    void* library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw StartError("module " + path + " cannot be loaded: " + ::dlerror());
    }
    return library;
}

}  // namespace

std::string defaultModule() {
    std::error_code error;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path tree = executable.parent_path().parent_path();
    const std::filesystem::path places[] = {tree / "lib" / kModuleFile,
                                            tree / OLTMGRD_LIBRARY_DIRECTORY / kModuleFile};
    for (const std::filesystem::path& place : places) {
        if (std::filesystem::exists(place, error)) {
            return place;
        }
    }
    throw StartError("module " + std::string(kModuleFile) + " is not in the library directory of " +
                     tree.string() + "; give its path with --module");
}

const onuQosClassInterface* loadModules(const std::vector<std::string>& paths) {
    const onuQosClassInterface* found = nullptr;
    for (const std::string& path : paths) {
        void* library = load(path);
        void* symbol = ::dlsym(library, ONUQOS_CLASS_INTERFACE_GET);
        if (symbol == nullptr) {
            continue;
        }
        const auto* interface = reinterpret_cast<decltype(&onuQosClassInterfaceGet)>(symbol)();
        if (found != nullptr && interface != found) {
            throw StartError("module " + path + ": a module that binds services is loaded already");
        }
        found = interface;
    }
    return found;
}

}  // namespace oltmgrd
