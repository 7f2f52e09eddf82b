// Makes one call on a regular file go wrong, for LD_PRELOAD: CADENCORA_FAIL="CALL N HOW", the n-th
// write, fsync, rename or close of a process, with the error number HOW, or "short" for a write
// that takes half. CADENCORA_FAILED names a file that is made once that has happened.

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool isRegular(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// The error for this call; 0: it is to work. -1: it is to take half.
int failure(const char* call) {
    static char wanted[16], how[16];
    static int left = [] {
        int n = 0;
        const char* text = std::getenv("CADENCORA_FAIL");
        return text && std::sscanf(text, "%15s %d %15s", wanted, &n, how) == 3 ? n : 0;
    }();
    if (left == 0 || std::strcmp(call, wanted) != 0 || --left > 0) return 0;
    if (const char* mark = std::getenv("CADENCORA_FAILED"))
        next<int(int)>("close")(open(mark, O_CREAT | O_WRONLY, 0600));
    return std::strcmp(how, "short") == 0 ? -1 : std::atoi(how);
}

ssize_t writeTo(void* cookie, const char* bytes, std::size_t size) {
    const auto written =
        write(static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)), bytes, size);
    return written < 0 ? 0 : written; // as fopencookie wants an error said; errno stays
}

int closeOf(void* cookie) {
    return close(static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)));
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    static auto* real = next<ssize_t(int, const void*, std::size_t)>("write");
    const int error = isRegular(descriptor) ? failure("write") : 0;
    if (error == 0) return real(descriptor, bytes, size);
    if (error < 0) return real(descriptor, bytes, (size + 1) / 2);
    errno = error;
    return -1;
}

int fsync(int descriptor) {
    static auto* real = next<int(int)>("fsync");
    const int error = failure("fsync");
    if (error <= 0) return real(descriptor);
    errno = error;
    return -1;
}

int close(int descriptor) {
    static auto* real = next<int(int)>("close");
    const int error = isRegular(descriptor) ? failure("close") : 0;
    const int result = real(descriptor);
    if (error <= 0) return result;
    errno = error;
    return -1;
}

int rename(const char* from, const char* to) {
    static auto* real = next<int(const char*, const char*)>("rename");
    const int error = failure("rename");
    if (error <= 0) return real(from, to);
    errno = error;
    return -1;
}

// The C library writes by itself what goes through streams; here it goes through write() above.
std::FILE* fopen(const char* path, const char* mode) {
    static auto* real = next<std::FILE*(const char*, const char*)>("fopen");
    if (mode[0] != 'w') return real(path, mode);
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (std::strchr(mode, 'x') ? O_EXCL : O_TRUNC);
    const int descriptor = open(path, flags, 0666);
    if (descriptor < 0) return nullptr;
    return fopencookie(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), "w",
                       {nullptr, writeTo, nullptr, closeOf});
}
}
#pragma GCC visibility pop
