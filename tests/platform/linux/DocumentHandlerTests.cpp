#include "platform/DocumentHandler.h"
#include "platform/linux/DesktopEntry.h"
#include "tests/platform/TestFolder.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

class DocumentHandlerTest : public TestFolder {
protected:
    void SetUp() override {
        TestFolder::SetUp();
        fs::create_directories(folder / "bin");
        fs::create_directories(folder / "Müller's work");
        setenv("PATH", (folder / "bin").c_str(), 1);
        setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
    }
    void TearDown() override {
        setenv("PATH", before.c_str(), 1);
        unsetenv("XDG_DATA_HOME");
        TestFolder::TearDown();
    }

    /// A program that writes its name, its argument and its session in one step and then stays.
    void addProgram(const std::string& name) const {
        const std::string told = (folder / "told").string();
        add(name, "read -r pid name state parent group session rest < /proc/$$/stat\necho \"" + name +
                      "|$1|$session\" > '" + told + ".new'\n/bin/mv '" + told + ".new' '" + told +
                      "'\nexec /bin/sleep 2");
    }
    void add(const std::string& name, const std::string& script) const {
        const fs::path file = folder / "bin" / name;
        std::ofstream(file) << "#!/bin/sh\n" << script << "\n";
        chmod(file.c_str(), 0755);
    }
    /// What the program told that was started last.
    std::string told() const {
        while (!fs::exists(folder / "told")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const std::string text = contents(folder / "told");
        fs::remove(folder / "told");
        return text;
    }

    const fs::path document = folder / "Müller's work" / "$(x) %f.docx";
    const std::string before = std::getenv("PATH");
};

TEST_F(DocumentHandlerTest, TakesTheDesktopsHandlerElseLibreOffice) {
    EXPECT_FALSE(openDocument(document));
    addProgram("soffice");
    ASSERT_TRUE(openDocument(document));
    const std::string first = told();
    EXPECT_EQ(first.rfind("soffice|" + document.string() + "|", 0), 0U) << first;
    // In a session of its own: Ctrl+C in the terminal is not for it.
    EXPECT_NE(std::atoi(first.c_str() + first.rfind('|') + 1), getsid(0));

    add("xdg-mime", "");
    ASSERT_TRUE(openDocument(document));
    EXPECT_EQ(told().rfind("soffice|", 0), 0U) << "a desktop without a handler";
    add("xdg-mime", "test \"$1 $2\" = 'query default' && echo writer.desktop");
    addProgram("xdg-open");
    ASSERT_TRUE(openDocument(document));
    EXPECT_EQ(told().rfind("xdg-open|" + document.string() + "|", 0), 0U) << "an entry that is not found";
    addProgram("writer");
    fs::create_directories(folder / "data/applications");
    std::ofstream(folder / "data/applications/writer.desktop") << "[Desktop Entry]\nExec=writer %f\n";
    ASSERT_TRUE(openDocument(document));
    EXPECT_EQ(told().rfind("writer|" + document.string() + "|", 0), 0U);

    for (const char* name : {"writer", "xdg-open"}) {
        std::ofstream(folder / "bin" / name) << "#!/no/such/interpreter\n";
    }
    ASSERT_TRUE(openDocument(document));
    EXPECT_EQ(told().rfind("soffice|", 0), 0U) << "what cannot be started";
}

TEST(DesktopEntry, OpensAFileAsItsExecKeySays) {
    using Command = std::vector<std::string>;
    const auto command = [](const std::string& exec) {
        return openingCommand(
            "[Desktop Action New]\nExec=other %f\n[Desktop Entry]\nName=Exec\n Exec = " + exec +
                "\n[X]\nTerminal=true\n",
            "/a b/ö%.docx");
    };
    EXPECT_EQ(
        command("libreoffice --writer %U"),
        (Command{"libreoffice", "--writer", "file:///a%20b/%C3%B6%25.docx"}));
    EXPECT_EQ(
        command(R"("/opt/a \\"b\\$/w" %i --x=100%% "" %F)"),
        (Command{"/opt/a \"b$/w", "--x=100%", "", "/a b/ö%.docx"}));
    EXPECT_EQ(command("program"), Command());
    EXPECT_EQ(openingCommand("[Desktop Entry]\nExec=vim %F\nTerminal=true\n", "/a"), Command());
    EXPECT_EQ(openingCommand("", "/a"), Command());
}

} // namespace
