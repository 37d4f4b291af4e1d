#include "platform/FileInUse.h"
#include "platform/PrivateFile.h"
#include "tests/platform/TestFolder.h"

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

using FileInUseTest = TestFolder;

std::error_code errorOfRemoving(const fs::path& path) {
    std::error_code error;
    fs::remove(path, error);
    return error;
}

TEST_F(FileInUseTest, TellsAFolderThatFillsUpFromAHopelessRemoval) {
    createPrivateFolder(folder / "study");
    createPrivateFile(folder / "study" / "new.dcm");
    EXPECT_TRUE(isFileInUse(errorOfRemoving(folder / "study")));

    EXPECT_TRUE(isFileInUse(std::make_error_code(std::errc::permission_denied)));

    EXPECT_FALSE(isFileInUse({}));
    EXPECT_FALSE(isFileInUse(std::make_error_code(std::errc::io_error))) << "5, as access denied elsewhere";
    EXPECT_FALSE(isFileInUse(std::make_error_code(std::errc::read_only_file_system)));
    EXPECT_FALSE(isFileInUse(std::make_error_code(std::errc::no_such_file_or_directory)));
    EXPECT_FALSE(isFileInUse(std::make_error_code(std::io_errc::stream)));
}

} // namespace
