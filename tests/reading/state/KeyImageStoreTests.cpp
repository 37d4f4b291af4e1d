#include "tests/reading/state/StateFixture.h"

#include <map>
#include <random>

namespace zorbel::tests {
namespace {

namespace fs = std::filesystem;

class KeyImageStoreTest : public StateFixture {
protected:
    KeyImageCapture add(KeyImageStore& store, KeyImageList& list, const std::string& caption) {
        const auto png = pngBytes(caption);
        return store.add(uid, list, {png, 640, 480, caption});
    }
    std::string in(const std::string& name) const { return "keyimages/" + std::string(uid) + "/" + name; }
};

TEST_F(KeyImageStoreTest, capturesComeBackWithTheirPictures) {
    StateFiles files(root);
    KeyImageStore store(files);
    KeyImageList list;
    EXPECT_EQ(add(store, list, "first").text, "Key image 1 captured (1 held for the report)");
    EXPECT_EQ(add(store, list, "second").text, "Key image 2 captured (2 held for the report)");
    StateFiles next(root);
    KeyImageStore nextStore(next);
    EXPECT_EQ(nextStore.load(uid), list);
    EXPECT_EQ(list.images()[1], (KeyImage{"key-2.png", "second", 640, 480}));
    EXPECT_EQ(nextStore.png(uid, list.images()[1]), pngBytes("second"));
    EXPECT_FALSE(nextStore.png(uid, {"../../../../etc/passwd", "", 1, 1}));
    EXPECT_EQ(names(), (std::set<std::string>{in("index.json"), in("key-1.png"), in("key-2.png")}));
}

TEST_F(KeyImageStoreTest, saysWhyNothingIsCaptured) {
    StateFiles files(root);
    KeyImageStore store(files);
    KeyImageList list;
    const auto png = pngBytes("x");
    EXPECT_EQ(store.add(" ", list, {png, 1, 1, ""}).text, "Open a study before capturing a key image");
    EXPECT_EQ(store.add(uid, list, {"", 1, 1, ""}).text, "The viewport could not be captured");
    EXPECT_EQ(store.add(uid, list, {png, 0, 1, ""}).text, "The viewport could not be captured");
    EXPECT_EQ(store.add("..", list, {png, 1, 1, ""}).text, "The key image folder could not be created");
    put("keyimages", "a file where the folder should be");
    EXPECT_EQ(store.add(uid, list, {png, 1, 1, ""}).text, "The key image folder could not be created");
    EXPECT_EQ(list, KeyImageList());
    EXPECT_EQ(names(), std::set<std::string>{"keyimages"});
}

TEST_F(KeyImageStoreTest, twoProgramsKeepEachOthersCaptures) {
    StateFiles files(root), otherFiles(root);
    KeyImageStore store(files), other(otherFiles);
    KeyImageList list, otherList;
    EXPECT_TRUE(add(store, list, "mine").captured);
    EXPECT_EQ(add(other, otherList, "other's").text, "Key image 2 captured (2 held for the report)");
    EXPECT_EQ(add(store, list, "mine again").text, "Key image 3 captured (3 held for the report)");
    EXPECT_EQ(store.png(uid, list.images()[0]), pngBytes("mine"));
    EXPECT_EQ(store.load(uid), list);
    EXPECT_EQ(list.images()[1].caption, "other's");
}

TEST_F(KeyImageStoreTest, whatOneProgramRemovesTakesNothingOfTheOthersAndStaysRemoved) {
    StateFiles files(root), otherFiles(root);
    KeyImageStore store(files), other(otherFiles);
    KeyImageList list;
    for (const char* caption : {"one", "two", "three"})
        add(store, list, caption);
    KeyImageList otherList = other.load(uid);
    const KeyImageList before = list;
    list.remove("key-3.png");
    list.remove("key-1.png");
    list.setCaption("key-2.png", "two, described");
    KeyImageEdits edits;
    edits.note(before, list);
    add(other, otherList, "other's");    // between the edit and its write
    for (int time = 0; time < 2; ++time) // as after a write whose answer was lost
        EXPECT_EQ(store.edit(uid, list, edits), "");
    const std::vector<KeyImage> expected{
        {"key-2.png", "two, described", 640, 480}, {"key-4.png", "other's", 640, 480}};
    EXPECT_EQ(store.list(uid)->images(), expected);
    EXPECT_EQ(names(), (std::set<std::string>{in("index.json"), in("key-2.png"), in("key-4.png")}));
    EXPECT_EQ(add(other, otherList, "more").text, "Key image 5 captured (3 held for the report)")
        << "what was removed came back, or a removed picture's name means another one now";

    const KeyImageList held = *store.list(uid);
    KeyImageList sorted = held;
    EXPECT_TRUE(sorted.move("key-5.png", 0));
    EXPECT_TRUE(sorted.setInReport("key-4.png", false));
    edits.note(held, sorted);
    EXPECT_EQ(other.edit(uid, sorted, edits), "");
    const KeyImageList found = KeyImageStore(files).load(uid);
    EXPECT_EQ(found, sorted);
    EXPECT_EQ(found.images()[0].fileName, "key-5.png");
    EXPECT_FALSE(found.images()[2].inReport);
}

TEST_F(KeyImageStoreTest, twoProgramsAtWorkLoseNoCaptureAndBringNothingBack) {
    struct Program {
        explicit Program(const fs::path& root) : files(root) {}
        StateFiles files;
        KeyImageStore store{files};
        KeyImageList list;
        KeyImageEdits edits;
    };
    Program programs[] = {Program(root), Program(root)};
    std::map<std::string, std::string> held; // caption as captured, by file name
    std::set<std::string> removed;
    std::mt19937 random(20261123);
    for (int step = 0; step < 400; ++step) {
        Program& program = programs[random() % 2];
        KeyImageList next = program.list;
        if (next.images().empty() || random() % 3 == 0) {
            ASSERT_TRUE(add(program.store, next, std::to_string(step)).captured);
            const std::string name = next.images().back().fileName;
            EXPECT_TRUE(held.emplace(name, std::to_string(step)).second && removed.count(name) == 0) << name;
            program.list = program.edits.appliedTo(next);
        } else {
            const std::string name = next.images()[random() % next.images().size()].fileName;
            if (random() % 2 == 0)
                next.move(name, random() % next.images().size());
            else if (next.remove(name) && held.erase(name) > 0)
                removed.insert(name);
            program.edits.note(program.list, next);
            program.list = next;
            if (random() % 4 != 0) { // else the disk fails, or it is not written yet
                ASSERT_EQ(program.store.edit(uid, next, program.edits), "");
            }
        }
    }
    for (Program& program : programs)
        ASSERT_EQ(program.store.edit(uid, program.list, program.edits), "");
    std::map<std::string, std::string> found;
    const KeyImageList left = programs[0].store.load(uid);
    for (const KeyImage& image : left.images())
        found[image.fileName] = image.caption;
    EXPECT_EQ(found, held);
    EXPECT_EQ(names().size(), held.size() + 1);
    EXPECT_GT(removed.size(), 50U);
}

TEST_F(KeyImageStoreTest, picturesThatNoListNamesGoAndThoseOfADamagedListStay) {
    StateFiles files(root);
    KeyImageStore store(files);
    KeyImageList list;
    add(store, list, "first");
    add(store, list, "second");
    put(in("key-7.png"), "a capture that was killed");
    put(in("notes.txt"), "not ours");
    fs::remove(root / in("key-1.png"));
    list = store.load(uid);
    EXPECT_EQ(list, KeyImageList({{"key-2.png", "second", 640, 480}}));
    EXPECT_EQ(names(), (std::set<std::string>{in("index.json"), in("key-2.png"), in("notes.txt")}));

    EXPECT_EQ(add(store, list, "first again").text, "Key image 1 captured (2 held for the report)");
    fs::remove(root / in("key-1.png"));

    put(in("index.json"), "{");
    list = store.load(uid);
    EXPECT_EQ(list, KeyImageList());
    EXPECT_EQ(add(store, list, "third").text, "Key image 1 captured (1 held for the report)");
    EXPECT_EQ(add(store, list, "fourth").text, "Key image 3 captured (2 held for the report)");
    EXPECT_EQ(store.load(uid), list);
    EXPECT_EQ(contents(in("key-2.png")), pngBytes("second"));
}

} // namespace
} // namespace zorbel::tests
