#pragma once

#include "benchmarks/ChildProcess.h"

#include <QString>
#include <QTemporaryDir>

#include <filesystem>
#include <memory>
#include <vector>

namespace zorbel::bench {

inline constexpr int benchSlices = 400;
inline constexpr int benchSize = 512;
inline constexpr int compressedSlices = 120;

/// What the measurements stand on, made when first asked for: the series, and the demo service that holds it.
/// Everything lies in one temporary folder and goes with it. Throws std::runtime_error when something cannot
/// be made.
class BenchGround {
public:
    BenchGround();
    ~BenchGround();
    BenchGround(const BenchGround&) = delete;
    BenchGround& operator=(const BenchGround&) = delete;

    std::filesystem::path folder() const;
    /// benchSlices files of benchSize × benchSize pixels of 16 bits, uncompressed.
    std::filesystem::path series();
    /// The first compressedSlices of them as JPEG lossless.
    std::filesystem::path compressedSeries();
    /// "http://127.0.0.1:PORT" of the demo service with the series and the phantom studies, in a process of
    /// its own.
    QString serviceUrl();
    /// Environment of a viewer that is pointed at the service and keeps its settings, cache and temporary
    /// files here.
    Environment viewerEnvironment();

private:
    QTemporaryDir folder_;
    std::unique_ptr<QProcess> service_;
    QString serviceUrl_;
};

/// The files of a folder, by name.
std::vector<std::filesystem::path> filesOf(const std::filesystem::path& folder);

} // namespace zorbel::bench
