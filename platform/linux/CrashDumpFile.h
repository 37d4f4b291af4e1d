#pragma once

#include "platform/linux/CallChain.h"
#include "platform/linux/LoadedModules.h"
#include "platform/linux/OtherThreads.h"

#include <string_view>

#include <csignal>
#include <ucontext.h>

namespace zorbel {

class RecentLines;

/// The text of a crash dump, made out and laid ready before the crash. Written within a signal handler, by
/// one thread, once: neither allocates nor locks. What surely succeeds comes first, and each part is in the
/// file before the next one is begun.
class CrashDumpFile {
public:
    /// prefix: of the file's path, before its time; head: the first lines. All must outlive this.
    CrashDumpFile(
        std::string_view prefix, std::string_view head, std::string_view program,
        const RecentLines& log) noexcept
        : prefix_(prefix), head_(head), log_(log), modules_(program) {}

    /// reason: empty where the signal alone tells it. exception: the type's name, empty for none.
    void write(
        const siginfo_t& signal, ucontext_t& context, std::string_view reason,
        std::string_view exception) noexcept;

private:
    void writeHead(
        int file, const siginfo_t& signal, const ucontext_t& context, std::string_view reason,
        std::string_view exception) const noexcept;
    void writeLog(int file) const noexcept;
    void writeChain(int file, const CallChain& chain) noexcept;
    void writeOtherThreads(int file) noexcept;

    std::string_view prefix_;
    std::string_view head_;
    const RecentLines& log_;
    LoadedModules modules_;
    CallChain chain_;
    OtherThreads others_;
};

} // namespace zorbel
