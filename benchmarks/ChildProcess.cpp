#include "benchmarks/ChildProcess.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>
#include <QProcess>

#include <csignal>
#include <ctime>
#include <stdexcept>

#include <sys/prctl.h>

namespace zorbel::bench {

long long monotonicNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1'000'000'000LL + now.tv_nsec;
}

std::unique_ptr<QProcess> newProcess(const Environment& additions) {
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : additions)
        environment.insert(name, value);
    process->setProcessEnvironment(environment);
    process->setChildProcessModifier([] {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
    });
    return process;
}

QByteArray runProgram(
    const QString& program, const QStringList& arguments, const QByteArray& input, int timeoutSeconds,
    const Environment& additions) {
    Environment all = additions;
    all[QString::fromLatin1(startedVariable)] = QString::number(monotonicNanoseconds());
    const auto process = newProcess(all);
    process->start(program, arguments);
    if (!process->waitForStarted())
        throw std::runtime_error(program.toStdString() + " cannot be started");
    process->write(input);
    process->closeWriteChannel();
    if (!process->waitForFinished(timeoutSeconds * 1000)) {
        process->kill();
        process->waitForFinished();
        throw std::runtime_error(
            program.toStdString() + " did not end within " + std::to_string(timeoutSeconds) + " s");
    }
    if (process->exitStatus() != QProcess::NormalExit || process->exitCode() != 0) {
        const QByteArray errors = process->readAllStandardError().trimmed();
        throw std::runtime_error(
            program.toStdString() + " failed (" + std::to_string(process->exitCode()) +
            "): " + (errors.isEmpty() ? std::string("no reason given") : errors.toStdString()));
    }
    return process->readAllStandardOutput();
}

nlohmann::json
measureInChild(const QStringList& arguments, const Environment& additions, int timeoutSeconds) {
    const QByteArray output = runProgram(
        QCoreApplication::applicationFilePath(), QStringList{QString::fromLatin1(childOption)} + arguments,
        {}, timeoutSeconds, additions);
    const QByteArray last = output.trimmed().split('\n').last();
    return nlohmann::json::parse(last.toStdString());
}

std::filesystem::path programFolder() {
    return std::filesystem::canonical("/proc/self/exe").parent_path();
}

} // namespace zorbel::bench
