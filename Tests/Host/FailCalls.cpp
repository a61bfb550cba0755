// Preloaded into a program, this makes calls of one kind fail. In the environment
//   FAIL_CALLS   is the kind: memory, new, open, read, write, seek, find, sync, close, link,
//                rename, nameless, the opening of a file without a name, or lost, a write that
//                succeeds and writes nothing;
//   FAIL_AT      the number of the call that fails, from 1; of all of them where it is missing;
//   FAIL_COUNT   a file that gets the number of calls there were when the program ends;
//   FAIL_TRACE   anything, for the stack of the call that fails on standard error.
// Of memory, the allocations of FFmpeg's libraries count; of new, those in the code of the program
// and of its media module; of find, seeks in files that are only read, and of seek those in others.
// Of a crash it says which library it is in.

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <new>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

const char* const kind = std::getenv("FAIL_CALLS");
const long failAt = std::getenv("FAIL_AT") != nullptr ? std::atol(std::getenv("FAIL_AT")) : 0;
const char* const countFile = std::getenv("FAIL_COUNT");
const bool isTraced = std::getenv("FAIL_TRACE") != nullptr;
std::atomic<long> calls = 0;
std::atomic<bool> isTracing = false;

// Where the code is whose allocations count.
struct Code {
    std::uintptr_t begin = 0, end = 0;
    bool holds(const void* place) const {
        const auto address = reinterpret_cast<std::uintptr_t>(place);
        return address >= begin && address < end;
    }
};
Code program, module, libavutil;

int findCode(dl_phdr_info* info, std::size_t /*size*/, void* /*data*/) {
    const auto isNamed = [&](const char* name) { return std::strstr(info->dlpi_name, name); };
    Code* const code = *info->dlpi_name == '\0'      ? &program
                       : isNamed("prismdrift_media") ? &module
                       : isNamed("libavutil")        ? &libavutil
                                                     : nullptr;
    for (int i = 0; code != nullptr && i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0) {
            code->begin = info->dlpi_addr + part.p_vaddr;
            code->end = code->begin + part.p_memsz;
        }
    }
    return 0;
}

// Says which library a crash is the fault of: that of the innermost call outside the C library.
void sayWhere(int signal, siginfo_t* /*information*/, [[maybe_unused]] void* context) {
    std::array<void*, 32> stack{};
    int depth = backtrace(stack.data(), stack.size());
#ifdef __x86_64__
    // Behind a call of a null pointer there is nothing to go back from but what the call pushed.
    const auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    if (registers[REG_RIP] == 0) {
        stack[3] = *reinterpret_cast<void**>(registers[REG_RSP]);
        depth = 5;
    }
#endif
    for (int i = 3; i < depth; ++i) { // behind this, the C library's part of it and what crashed
        Dl_info place = {};
        if (dladdr(stack[static_cast<std::size_t>(i - 1)], &place) != 0 &&
            std::strstr(place.dli_fname, "/libc.so") == nullptr) {
            dprintf(STDERR_FILENO, "crashed in %s\n", place.dli_fname);
            break;
        }
    }
    std::signal(signal, SIG_DFL);
    raise(signal);
}

__attribute__((constructor)) void begin() {
    dl_iterate_phdr(&findCode, nullptr);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT}) {
        struct sigaction action = {};
        action.sa_sigaction = &sayWhere;
        action.sa_flags = SA_SIGINFO;
        sigaction(signal, &action, nullptr);
    }
}

__attribute__((destructor)) void reportCount() {
    if (countFile == nullptr) {
        return;
    }
    std::array<char, 24> text{};
    const int size = std::snprintf(text.data(), text.size(), "%ld\n", calls.load());
    const auto file = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, countFile, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    syscall(SYS_write, file, text.data(), static_cast<std::size_t>(size));
    syscall(SYS_close, file);
}

bool fails(const char* name, int error) {
    if (kind == nullptr || std::strcmp(name, kind) != 0 || isTracing) {
        return false;
    }
    const long number = ++calls;
    if (failAt != 0 && number != failAt) {
        return false;
    }
    if (isTraced) {
        isTracing = true;
        std::array<void*, 32> stack{};
        backtrace_symbols_fd(stack.data(), backtrace(stack.data(), stack.size()), STDERR_FILENO);
        isTracing = false;
    }
    errno = error;
    return true;
}

// Whether the library's code called, maybe by way of the program, which looks at allocations.
[[gnu::noinline]] bool isFromLibavutil(const void* caller) {
    std::array<void*, 4> stack{}; // this function, that of this library, the program's, its caller
    return libavutil.holds(caller) ||
           (program.holds(caller) && backtrace(stack.data(), stack.size()) == stack.size() &&
            libavutil.holds(stack.back()));
}

bool failsToSeek(int file) {
    return fails((fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY ? "seek" : "find", EIO);
}

bool failsToOpen(int flags) {
    const bool isNameless = (flags & O_TMPFILE) == O_TMPFILE;
    return (isNameless && fails("nameless", EOPNOTSUPP)) || fails("open", EMFILE);
}

// The C library's function of this name.
template <typename Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))
#define REAL(name)                                                                                 \
    (*([] {                                                                                        \
        static auto* const found = real<decltype(name)>(#name);                                    \
        return found;                                                                              \
    }()))
#define FAILS_FROM_LIBAVUTIL                                                                       \
    (isFromLibavutil(__builtin_return_address(0)) && fails("memory", ENOMEM))
#define FAILS_IN_OWN_CODE(name)                                                                    \
    ((program.holds(__builtin_return_address(0)) || module.holds(__builtin_return_address(0))) &&  \
     fails(name, ENOMEM))

EXPORTED int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    return FAILS_FROM_LIBAVUTIL ? ENOMEM : REAL(posix_memalign)(memory, alignment, size);
}

EXPORTED void* realloc(void* memory, std::size_t size) noexcept {
    return FAILS_FROM_LIBAVUTIL ? nullptr : REAL(realloc)(memory, size);
}

__attribute__((visibility("default"))) void* operator new(std::size_t size) {
    void* const memory = FAILS_IN_OWN_CODE("new") ? nullptr : std::malloc(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

EXPORTED void* dlopen(const char* name, int flags) noexcept {
    void* const library = REAL(dlopen)(name, flags);
    dl_iterate_phdr(&findCode, nullptr);
    return library;
}

EXPORTED ssize_t read(int file, void* bytes, std::size_t size) {
    return fails("read", EIO) ? -1 : REAL(read)(file, bytes, size);
}

EXPORTED ssize_t write(int file, const void* bytes, std::size_t size) {
    if (fails("lost", 0)) {
        return static_cast<ssize_t>(size);
    }
    return fails("write", ENOSPC) ? -1 : REAL(write)(file, bytes, size);
}

EXPORTED off_t lseek(int file, off_t place, int whence) noexcept {
    return failsToSeek(file) ? -1 : REAL(lseek)(file, place, whence);
}

EXPORTED off64_t lseek64(int file, off64_t place, int whence) noexcept {
    return failsToSeek(file) ? -1 : REAL(lseek64)(file, place, whence);
}

EXPORTED int open(const char* name, int flags, ...) {
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = va_arg(more, mode_t);
    va_end(more);
    return failsToOpen(flags) ? -1 : REAL(open)(name, flags, mode);
}

EXPORTED int open64(const char* name, int flags, ...) {
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = va_arg(more, mode_t);
    va_end(more);
    return failsToOpen(flags) ? -1 : REAL(open64)(name, flags, mode);
}

EXPORTED int close(int file) {
    const int result = REAL(close)(file);
    return fails("close", EDQUOT) ? -1 : result;
}

EXPORTED int fsync(int file) {
    return fails("sync", EDQUOT) ? -1 : REAL(fsync)(file);
}

EXPORTED int linkat(int from, const char* old, int to, const char* name, int flags) noexcept {
    return fails("link", ENOSPC) ? -1 : REAL(linkat)(from, old, to, name, flags);
}

EXPORTED int rename(const char* from, const char* to) noexcept {
    return fails("rename", EIO) ? -1 : REAL(rename)(from, to);
}
