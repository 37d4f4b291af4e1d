#include "demo/DicomFile.h"
#include "demo/OrthancProcess.h"
#include "demo/PhantomStudies.h"
#include "tests/support/Files.h"
#include "tests/support/PollUntil.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <csignal>
#include <cstdio>
#include <map>

#include <sys/wait.h>
#include <unistd.h>

namespace zorbel::demo {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

struct Outcome {
    int code = -1;
    std::string output;
};

Outcome runProgram(const std::string& arguments, const std::string& environment = {}) {
    const std::string command = environment + " " + ZORBEL_DEMO_PROGRAM + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    Outcome outcome;
    std::array<char, 4096> buffer{};
    for (std::size_t got = 0; (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        outcome.output.append(buffer.data(), got);
    }
    const int status = pclose(pipe);
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

TEST(DemoProgram, runsTheViewerInItsOwnFoldersWithPhantomsAndImportsInPlace) {
    const TemporaryFolder folder;
    const fs::path imports = folder.path() / "imports";
    writeBenchSeries(imports, 2, 16);
    const fs::path script = folder.path() / "viewer.sh";
    const std::string uids = "NODE_STUDY=" + uidOf(nodeStudyName) + "\nPREPARED=" + uidOf(preparedStudyName) +
                             "\nDEMO=" + ZORBEL_DEMO_PROGRAM + "\n";
    test::writeFile(script, uids + R"sh(set -e
for d in "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME" "$TMPDIR"; do
    test "$(stat -c %a "$d")" = 700
done
touch "$XDG_CONFIG_HOME/kept" "$TMPDIR/dropped"
cat "$XDG_CACHE_HOME/Quenmark/Zorbel Desktop Workstation/"*"/$PREPARED/manifest.json" > "$XDG_CONFIG_HOME/manifest"
token=$(curl -s -H 'Content-Type: application/json' \
    -d "{\"email\":\"$ZORBEL_DEMO_ACCOUNT\",\"password\":\"$ZORBEL_DEMO_PASSWORD\"}" \
    "$ZORBEL_API_BASE_URL/api/auth/login" | sed 's/.*"token":"\([0-9a-f]*\)".*/\1/')
session=$(curl -s -H "Authorization: Bearer $token" -d '{"clinicId":"node-demo-clinic"}' \
    "$ZORBEL_API_BASE_URL/apps/pacs/api/desktop/local-nodes/session")
node=$(echo "$session" | sed 's/.*"baseUrl":"\([^"]*\)".*/\1/')
pass=$(echo "$session" | sed 's/.*"token":"\([0-9a-f]*\)".*/\1/')
echo "NODE $(curl -s -H "Authorization: Bearer $pass" \
    "$node/api/local-node/desktop/resolve-study?studyInstanceUID=$NODE_STUDY")"
echo "LIST $(curl -s -H "Authorization: Bearer $token" "$ZORBEL_API_BASE_URL/apps/pacs/api/studies")"
desk="$ZORBEL_API_BASE_URL/apps/ris/api/desktop-word/sessions"
word=$(curl -s -H "Authorization: Bearer $token" -d "{\"studyInstanceUID\":\"$PREPARED\"}" "$desk")
id=$(echo "$word" | sed 's/.*"sessionId":"\([^"]*\)".*/\1/')
curl -s -H "Authorization: Bearer $token" -o "$TMPDIR/report.docx" "$desk/$id/document"
"$DEMO" word list --url "$ZORBEL_API_BASE_URL"
first=$("$DEMO" word list --url "$ZORBEL_API_BASE_URL" | sed -n 's/^  version 1  \([^ ]*\).*/\1/p')
"$DEMO" word fetch "${first%????}" "$TMPDIR/fetched.docx" --url "$ZORBEL_API_BASE_URL"
cmp "$TMPDIR/report.docx" "$TMPDIR/fetched.docx"
"$DEMO" word fetch nothing "$TMPDIR/none.docx" --url "$ZORBEL_API_BASE_URL" || exit 7
)sh");
    const std::string options = "run --cache " + std::string(ZORBEL_DEMO_CACHE) + " --home " +
                                (folder.path() / "home").string() + " --import " + imports.string() +
                                " -- sh " + script.string();
    const Outcome outcome = runProgram(options);
    EXPECT_EQ(outcome.code, 7) << outcome.output;
    EXPECT_NE(outcome.output.find("There is no version nothing."), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("CBCT report, study " + uidOf(preparedStudyName)), std::string::npos);
    EXPECT_NE(outcome.output.find("NODE {\"orthancId\":\""), std::string::npos) << outcome.output;
    const std::size_t at = outcome.output.find("LIST ");
    ASSERT_NE(at, std::string::npos) << outcome.output;
    const nlohmann::json studies =
        nlohmann::json::parse(outcome.output.substr(at + 5, outcome.output.find('\n', at) - at - 5))
            .at("studies");
    std::map<std::string, std::size_t> counts;
    for (const auto& study : studies) {
        counts[study.at("studyDescription")] += study.at("instanceCount").get<std::size_t>();
    }
    const std::map<std::string, std::size_t> expected{
        {"BENCH", 2},
        {"CBCT JAW", 240},
        {"CBCT JAW INCOMPLETE", 59},
        {"CBCT JAW ON SITE", 96},
        {"CBCT JAW PREPARED", 120},
        {"CBCT WITH SCOUT", 181},
        {"CEPHALOMETRIC LATERAL", 1},
        {"PANORAMIC", 2}};
    EXPECT_EQ(counts, expected);

    EXPECT_TRUE(fs::exists(folder.path() / "home" / "config" / "kept"));
    for (const auto& entry : fs::directory_iterator(folder.path() / "home")) {
        EXPECT_NE(entry.path().filename().string().rfind("tmp-", 0), 0U) << entry.path();
    }
}

TEST(DemoProgram, aFreshHomeGoesWithItsRun) {
    const TemporaryFolder folder;
    const fs::path leftover = folder.path() / "zorbel-demo" / "fresh-home-999999999";
    fs::create_directories(leftover);
    const Outcome outcome = runProgram(
        "run --no-phantoms --no-local-node --fresh-home -- sh -c 'touch \"$XDG_CACHE_HOME/x\" && echo \"IN "
        "$XDG_CACHE_HOME\" && XDG_CACHE_HOME=" +
            folder.path().string() + " " + ZORBEL_DEMO_PROGRAM + " word list'",
        "XDG_CACHE_HOME=" + folder.path().string());
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("IN " + (folder.path() / "zorbel-demo").string()), std::string::npos);
    EXPECT_NE(outcome.output.find("No report has been opened yet."), std::string::npos) << outcome.output;
    EXPECT_TRUE(fs::is_empty(folder.path() / "zorbel-demo"));
    EXPECT_EQ(runProgram("run --fresh-home --home x -- true").code, 2);
}

bool exists(int pid) {
    return kill(pid, 0) == 0;
}

TEST(DemoProgram, itsArchiveEndsWithAKilledProgramAndTheNextOneTidiesUp) {
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    const pid_t child = fork();
    if (child == 0) {
        const OrthancProcess orthanc;
        const std::string text = std::to_string(orthanc.processId()) + " " + orthanc.folder().string() + "\n";
        [[maybe_unused]] const ssize_t told = write(pipeEnds[1], text.data(), text.size());
        pause();
        _exit(0);
    }
    std::string text(4096, '\0');
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(read(pipeEnds[0], text.data(), text.size()), 0)));
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const int pid = std::stoi(text);
    const fs::path folder = text.substr(text.find(' ') + 1, text.size() - text.find(' ') - 2);
    EXPECT_TRUE(test::pollUntil([&] { return !exists(pid); }));
    const OrthancProcess next;
    EXPECT_FALSE(fs::exists(folder));
}

} // namespace
} // namespace zorbel::demo
