#pragma once

#include <nlohmann/json_fwd.hpp>

#include <QString>
#include <QStringList>

#include <filesystem>
#include <map>
#include <memory>

class QProcess;

namespace zorbel::bench {

/// Name of the environment variable with the moment a child was started: nanoseconds of the monotonic clock.
inline constexpr char startedVariable[] = "ZORBEL_BENCH_STARTED_NS";
/// First argument of a child that takes one measurement in a fresh process.
inline constexpr char childOption[] = "--child";

/// Nanoseconds of the clock that all processes share.
long long monotonicNanoseconds();

using Environment = std::map<QString, QString>;

/// A process that ends with this one, without this one's blocked signals.
std::unique_ptr<QProcess> newProcess(const Environment& additions = {});

/// Runs a program to its end; returns what it wrote to standard output. Throws std::runtime_error with what
/// it wrote to standard error when it fails or takes longer than timeoutSeconds.
QByteArray runProgram(
    const QString& program, const QStringList& arguments, const QByteArray& input = {},
    int timeoutSeconds = 120, const Environment& additions = {});

/// Takes one measurement in a fresh process of this very program: the JSON object that it printed last.
nlohmann::json
measureInChild(const QStringList& arguments, const Environment& additions = {}, int timeoutSeconds = 240);

/// Where the programs of this build lie.
std::filesystem::path programFolder();

} // namespace zorbel::bench
