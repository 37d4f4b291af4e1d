#include "tests/cache/storage/OtherProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace zorbel::test {

namespace {

constexpr uid_t nobody = 65534;

void receiveByte(int descriptor) {
    char byte = 0;
    if (read(descriptor, &byte, 1) != 1)
        return; // the other side has ended
}

void sendByte(int descriptor) {
    if (write(descriptor, "x", 1) != 1)
        std::perror("write");
}

} // namespace

OtherProcess::OtherProcess(const Work& work) {
    int up[2] = {-1, -1};
    int down[2] = {-1, -1};
    if (pipe(up) != 0 || pipe(down) != 0)
        throw std::runtime_error("pipe");
    std::fflush(nullptr);
    process_ = fork();
    if (process_ != 0) {
        close(up[1]);
        close(down[0]);
        fromOther_ = up[0];
        toOther_ = down[1];
        return;
    }
    close(up[0]);
    close(down[1]);
    try {
        work([out = up[1]] { sendByte(out); }, [in = down[0]] { receiveByte(in); });
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
    std::fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

OtherProcess::~OtherProcess() {
    kill();
    close(fromOther_);
    close(toOther_);
}

void OtherProcess::waitUntilReady() {
    receiveByte(fromOther_);
}

void OtherProcess::letEnd() {
    sendByte(toOther_);
}

void OtherProcess::kill() {
    if (process_ <= 0)
        return;
    ::kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
}

bool OtherProcess::succeeds() {
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool succeedsWithoutPrivileges(const char* folder, const std::function<void()>& work) {
    if (geteuid() == 0 && chown(folder, nobody, nobody) != 0)
        return false;
    OtherProcess process([&work](const auto&, const auto&) {
        ASSERT_TRUE(geteuid() != 0 || (setgid(nobody) == 0 && setuid(nobody) == 0));
        work();
    });
    return process.succeeds();
}

} // namespace zorbel::test
