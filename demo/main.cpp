#include "demo/DemoFolders.h"
#include "demo/DemoLocalNode.h"
#include "demo/DemoService.h"
#include "demo/PhantomStudies.h"
#include "demo/PreparedStudy.h"
#include "demo/ViewerProcess.h"
#include "demo/WordProcessor.h"
#include "demo/update/DemoInstallers.h"
#include "demo/update/ReleaseDesk.h"
#include "demo/word/WordCommand.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace zorbel::demo;

constexpr const char* usage =
    R"(Usage:
  zorbel-demo run [OPTIONS] -- VIEWER [ARGUMENTS]   start the demo service and a viewer pointed at it
  zorbel-demo serve [OPTIONS]                       start the demo service alone, until Ctrl+C
  zorbel-demo phantom FOLDER                        write the phantom studies as DICOM files
  zorbel-demo bench-series FOLDER [--slices N] [--size N]
  zorbel-demo word list [--url URL]                 show the Word reports of a running demo service, each version
  zorbel-demo word fetch VERSION FILE [--url URL]   write a version's document; VERSION is its id or the id's start

Options of run and serve:
  --import FOLDER   put the DICOM files below FOLDER into the demo archive (may be repeated)
  --no-phantoms     leave the archive without the phantom studies
  --no-local-node   leave the demo clinic without a Local Node
  --cache DIR       where made phantoms are kept
  --port N          the service's port (default: a free one)
  --home DIR        where the viewer keeps settings, cache and data of the demonstration (run only)
  --fresh-home      keep them in a new folder, removed at the end (run only)
  --update          have the service offer a newer version (run only)

Options of word:
  --url URL         the demo service (default: the one that was started last)
)";

/// A wrong command line; the text says what is wrong.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct CommandLine {
    std::string command;
    std::string folder;
    std::vector<std::string> word; ///< what follows the command word
    std::string url;
    DemoService::Options service;
    fs::path home;
    bool freshHome = false;
    bool update = false;
    int slices = 400;
    int size = 512;
    std::vector<std::string> viewer;
};

int numberOf(const std::string& text, int most) {
    const bool digits =
        !text.empty() && text.size() < 6 && text.find_first_not_of("0123456789") == std::string::npos;
    const int value = digits ? std::stoi(text) : 0;
    if (value < 1 || value > most) {
        throw UsageError("Not a number from 1 to " + std::to_string(most) + ": " + text);
    }
    return value;
}

/// "word", and what follows.
CommandLine parseWord(const std::vector<std::string>& words) {
    CommandLine line;
    line.command = words[0];
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "--url" && i + 1 < words.size()) {
            line.url = words[++i];
        } else if (words[i].rfind("-", 0) != 0) {
            line.word.push_back(words[i]);
        } else {
            throw UsageError("Unknown option: " + words[i]);
        }
    }
    const std::string what = line.word.empty() ? std::string() : line.word[0];
    if (!(what == "list" && line.word.size() == 1) && !(what == "fetch" && line.word.size() == 3)) {
        throw UsageError("It is: word list, or word fetch VERSION FILE");
    }
    line.url = line.url.empty() ? ServiceNote::url() : line.url;
    if (line.url.empty()) {
        throw std::runtime_error("No demo service runs; --url says where another one is.");
    }
    return line;
}

CommandLine parse(const std::vector<std::string>& words) {
    CommandLine line;
    line.service.phantoms = true;
    line.service.localNode = true;
    if (words.empty()) {
        throw UsageError("A command is missing.");
    }
    if (words[0] == "word") {
        return parseWord(words);
    }
    line.command = words[0];
    const bool service = line.command == "run" || line.command == "serve";
    const bool bench = line.command == "bench-series";
    if (!service && !bench && line.command != "phantom") {
        throw UsageError("Unknown command: " + line.command);
    }
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string& word = words[i];
        const auto value = [&]() -> const std::string& {
            if (++i == words.size()) {
                throw UsageError("A value is missing after " + word);
            }
            return words[i];
        };
        if (word == "--" && line.command == "run") {
            line.viewer.assign(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, words.end());
            break;
        }
        if (service && word == "--import") {
            line.service.imports.emplace_back(value());
        } else if (service && word == "--no-phantoms") {
            line.service.phantoms = false;
        } else if (service && word == "--no-local-node") {
            line.service.localNode = false;
        } else if (service && word == "--cache") {
            line.service.cacheFolder = value();
        } else if (service && word == "--port") {
            line.service.port = numberOf(value(), 65535);
        } else if (line.command == "run" && word == "--home") {
            line.home = value();
        } else if (line.command == "run" && word == "--update") {
            line.update = true;
        } else if (line.command == "run" && word == "--fresh-home") {
            line.freshHome = true;
        } else if (bench && word == "--slices") {
            line.slices = numberOf(value(), 5000);
        } else if (bench && word == "--size") {
            line.size = numberOf(value(), 4096);
        } else if (!service && line.folder.empty() && word.rfind("-", 0) != 0) {
            line.folder = word;
        } else {
            throw UsageError("Unknown option: " + word);
        }
    }
    if ((line.command == "run" && line.viewer.empty()) || (!service && line.folder.empty())) {
        throw UsageError(
            line.command == "run" ? "The viewer is missing: -- VIEWER" : "The folder is missing.");
    }
    if (line.freshHome && !line.home.empty()) {
        throw UsageError("Either --home or --fresh-home.");
    }
    for (const fs::path& folder : line.service.imports) {
        if (!fs::exists(folder)) {
            throw UsageError("There is no folder " + folder.string());
        }
    }
    return line;
}

void announce(DemoService& service, bool withNode) {
    std::cout << "Demo service at " << service.baseUrl() << "\n";
    if (withNode) {
        std::cout << "  Local Node  \"" << DemoLocalNode::name << "\" at " << service.localNode().baseUrl()
                  << "\n";
    }
    std::cout << "  sign in as  " << readerAccount.email << "\n"
              << "  password    " << readerAccount.password << "\n"
              << "  or as       " << administratorAccount.email << " / " << administratorAccount.password
              << ", who also sees all reports at " << service.baseUrl() << "/demo/word\n"
              << std::flush;
}

int serve(const CommandLine& line) {
    DemoService service(line.service);
    service.start();
    const ServiceNote note(service.baseUrl());
    announce(service, line.service.localNode);
    std::cout << "Ctrl+C ends it.\n" << std::flush;
    waitForEndingSignal();
    return 0;
}

/// The demonstration is one without it, too.
void tryToPrepare(const CommandLine& line, const fs::path& userCacheFolder) {
    try {
        prepareVolumeCache(
            phantomFolder(line.service.cacheFolder, line.service.notice), userCacheFolder, readerAccount);
    } catch (const std::exception& error) {
        std::cerr << "No study is prepared in the viewer's cache: " << error.what() << "\n";
    }
}

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

int run(const CommandLine& line) {
    std::optional<FolderOfThisRun> freshHome;
    if (line.freshHome) {
        freshHome.emplace(demoHome().parent_path(), "fresh-home-");
    }
    const fs::path home = privateFolder(fs::absolute(
        freshHome           ? freshHome->path()
        : line.home.empty() ? demoHome()
                            : line.home));
    DemoService service(line.service);
    service.start();
    const ServiceNote note(service.baseUrl());
    announce(service, line.service.localNode);
    const fs::path config = privateFolder(home / "config");
    std::cout << "  documents   " << prepareWordProcessor(config) << "\n" << std::flush;
    const fs::path cache = privateFolder(home / "cache");
    if (line.service.phantoms) {
        tryToPrepare(line, cache);
    }
    const FolderOfThisRun temporary(home, "tmp-");
    const FolderOfThisRun installers(home, "installers-");
    std::map<std::string, std::string> environment{
        {"ZORBEL_API_BASE_URL", service.baseUrl()},
        {"ZORBEL_DEMO_ACCOUNT", readerAccount.email},
        {"ZORBEL_DEMO_PASSWORD", readerAccount.password},
        {"XDG_CONFIG_HOME", config},
        {"XDG_CACHE_HOME", cache},
        {"XDG_DATA_HOME", privateFolder(home / "data")},
        {"TMPDIR", temporary.path()}};
    if (makeDemoInstallers(installers.path())) {
        environment["ZORBEL_DEMO_INSTALLERS"] = installers.path();
        if (line.update) {
            service.releaseDesk().publish(contentOf(installers.path() / "good.exe"), "1.1.0");
        }
    }
    return ViewerProcess(line.viewer, environment).wait();
}

int execute(CommandLine line) {
    if (line.command == "phantom") {
        writePhantomStudies(line.folder);
        return 0;
    }
    if (line.command == "bench-series") {
        writeBenchSeries(line.folder, line.slices, line.size);
        return 0;
    }
    if (line.command == "word") {
        if (line.word[0] == "list") {
            listReports(line.url, std::cout);
        } else {
            fetchVersion(line.url, line.word[1], line.word[2]);
        }
        return 0;
    }
    line.service.notice = [](const std::string& text) {
        if (endingSignalCame()) {
            throw std::runtime_error("Stopped.");
        }
        std::cout << text << "\n" << std::flush;
    };
    return line.command == "run" ? run(line) : serve(line);
}

} // namespace

int main(int argc, char** argv) {
    umask(077);
    holdEndingSignals();
    try {
        return execute(parse({argv + 1, argv + argc}));
    } catch (const UsageError& error) {
        std::cerr << error.what() << "\n\n" << usage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "zorbel-demo: " << error.what() << "\n";
        return 1;
    }
}
