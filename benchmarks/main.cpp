#include "benchmarks/BenchGround.h"
#include "benchmarks/BenchReport.h"
#include "benchmarks/CacheBench.h"
#include "benchmarks/DecodingBench.h"
#include "benchmarks/PauseBench.h"
#include "benchmarks/PlaneBench.h"
#include "benchmarks/ReadingBench.h"
#include "benchmarks/ReportBench.h"
#include "benchmarks/ReportOpeningBench.h"
#include "benchmarks/StreamingBench.h"
#include "benchmarks/VolumeBench.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace zorbel::bench;

constexpr const char* usage =
    R"(Usage: zorbel-bench [--json FILE] [--only TEXT]     (started by ./bench, which brings a screen)

Measures the program against its references and prints a table. A ratio above 1 means better than the reference.
Each figure is the median of several runs, the program's and the reference's in turn.

  --json FILE   also write the rows as a JSON list; goal is the least ratio where there is a reference, else the
                highest figure
  --only TEXT   only the rows whose name contains TEXT, in any case
  --help        this text

Exit code 0 when everything was measured, whether the goals hold or not; 1 when something could not be measured.
)";

struct Group {
    std::vector<std::string> names;
    std::function<std::vector<BenchRow>(BenchGround&)> measure;
};

std::vector<Group> groups() {
    return {
        {{streamingRowName}, measureStreaming},
        {{streamingMemoryRowName}, measureStreamingMemory},
        {{decodingRowName}, measureDecoding},
        {{compressedDecodingRowName}, measureCompressedDecoding},
        {{decodingMemoryRowName}, measureDecodingMemory},
        {{cacheLoadRowName}, measureCacheLoad},
        {{cacheMemoryRowName}, measureCacheMemory},
        {{archiveCommitRowName}, measureArchiveCommit},
        {{archiveReopenRowName}, measureArchiveReopen},
        {{policyRowName}, measurePolicy},
        {{reportRowName}, measureReport},
        {{reportMemoryRowName}, measureReportMemory},
        {reportOpeningRowNames(), measureReportOpening},
        {{pauseRowName}, measurePause},
        {planeRowNames(), measurePlanes},
        {startRowNames(), measureStart},
        {readingRowNames(), measureReading},
        {volumeRowNames(), measureVolume}};
}

struct CommandLine {
    std::string json;
    std::string only;
};

bool contains(const std::string& name, const std::string& text) {
    const auto same = [](unsigned char left, unsigned char right) {
        return std::tolower(left) == std::tolower(right);
    };
    return std::search(name.begin(), name.end(), text.begin(), text.end(), same) != name.end();
}

/// An interrupted run leaves no files; what it started ends with it.
void removeOnSignal(const std::filesystem::path& folder) {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ending, number);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    std::thread([ending, folder] {
        int number = 0;
        sigwait(&ending, &number);
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
        _exit(128 + number);
    }).detach();
}

/// What the figures depend on besides the program.
std::string machine() {
    std::ostringstream text;
    double load = 0.0;
    getloadavg(&load, 1);
    text << std::thread::hardware_concurrency() << " cores, load average " << load << " at the start";
    return text.str();
}

std::vector<BenchRow> measureAll(BenchGround& ground, const std::string& only, bool& complete) {
    std::vector<BenchRow> rows;
    for (const Group& group : groups()) {
        std::vector<std::string> wanted;
        for (const std::string& name : group.names)
            if (contains(name, only))
                wanted.push_back(name);
        if (wanted.empty())
            continue;
        std::cerr << "Measuring: " << wanted.front() << (wanted.size() > 1 ? ", …" : "") << "\n";
        try {
            for (BenchRow& row : group.measure(ground))
                if (contains(row.name, only))
                    rows.push_back(std::move(row));
        } catch (const std::exception& error) {
            complete = false;
            for (const std::string& name : wanted)
                rows.push_back(failedRow(name, error.what()));
        }
    }
    return rows;
}

int measure(int argc, char** argv, const CommandLine& line) {
    std::ofstream json;
    if (!line.json.empty()) {
        json.open(line.json);
        if (!json) {
            std::cerr << "zorbel-bench: cannot write " << line.json << "\n";
            return 2;
        }
    }
    QCoreApplication application(argc, argv);
    BenchGround ground;
    removeOnSignal(ground.folder());
    const std::string conditions = machine();
    bool complete = true;
    const std::vector<BenchRow> rows = measureAll(ground, line.only, complete);
    if (rows.empty()) {
        std::cerr << "zorbel-bench: no row's name contains \"" << line.only << "\"\n";
        return 2;
    }
    std::cout << table(rows) << "\nMeasured on " << conditions << ".\n";
    if (json.is_open() && !(json << jsonText(rows) << std::flush)) {
        std::cerr << "zorbel-bench: cannot write " << line.json << "\n";
        return 1;
    }
    return complete ? 0 : 1;
}

/// One measurement in this process, for the parent to read.
int measureAsChild(int argc, char** argv) {
    const std::string what = argc > 2 ? argv[2] : "";
    const std::string argument = argc > 3 ? argv[3] : "";
    nlohmann::json result;
    if (what == "start") {
        result = startChild();
    } else if (what == "reading") {
        result = readingChild();
    } else if (what == "planes") {
        result = planesChild(argc, argv);
    } else if (what == "volume") {
        result = volumeChild();
    } else if (what == "pause") {
        result = pauseChild(argc, argv, argument);
    } else {
        QCoreApplication application(argc, argv);
        if (what == "streaming-memory")
            result = streamingMemoryChild(QString::fromStdString(argument));
        else if (what == "decoding-memory")
            result = decodingMemoryChild(argument);
        else if (what == "cache-memory")
            result = cacheMemoryChild(argument);
        else if (what == "report-memory")
            result = reportMemoryChild();
        else
            throw std::runtime_error("There is no measurement " + what);
    }
    std::cout << "\n" << result.dump() << std::endl;
    return 0;
}

/// False when it is wrong.
bool parse(int argc, char** argv, CommandLine& line) {
    for (int index = 1; index < argc; ++index) {
        const std::string word = argv[index];
        if ((word != "--json" && word != "--only") || index + 1 == argc || *argv[index + 1] == '\0')
            return false;
        (word == "--json" ? line.json : line.only) = argv[++index];
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    umask(077);
    try {
        if (argc > 1 && std::strcmp(argv[1], childOption) == 0)
            return measureAsChild(argc, argv);
        if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
            std::cout << usage;
            return 0;
        }
        CommandLine line;
        if (!parse(argc, argv, line)) {
            std::cerr << usage;
            return 2;
        }
        return measure(argc, argv, line);
    } catch (const std::exception& error) {
        std::cerr << "zorbel-bench: " << error.what() << "\n";
        return 1;
    }
}
