// Files on the disk: what a write keeps, what it leaves, and what it refuses.

#include "stage/base/file.h"

#include "tests/test_folder.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

struct AtomicFiles : testing::Test {
    fs::path folder = testFolder() / "files", file = folder / "a";

    AtomicFiles() {
        fs::create_directories(folder);
        EXPECT_TRUE(writeFile(file, "old").ok());
    }
    ~AtomicFiles() override { fs::remove_all(folder); }
    static std::string text(const fs::path& path) {
        auto bytes = readFile(path);
        return bytes ? bytes.value() : bytes.problem().text();
    }
    std::size_t count() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
    }
    static unsigned modeOf(const fs::path& path) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status.st_mode & 07777;
    }
};

TEST_F(AtomicFiles, keep_permissions_and_links_and_appear_whole_or_not_at_all) {
    EXPECT_EQ(chmod(file.c_str(), 0640), 0);
    fs::create_symlink("a", folder / "link");
    fs::create_symlink("new", folder / "dangling");
    ASSERT_TRUE(writeFile(folder / "link", "through").ok());
    ASSERT_TRUE(writeFile(folder / "dangling", "made").ok());
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(text(file), "through");
    EXPECT_EQ(modeOf(file), 0640u);
    EXPECT_EQ(text(folder / "new"), "made");
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(modeOf(folder / "new"), 0666u & ~mask);

    fs::create_hard_link(file, folder / "hard");
    ASSERT_TRUE(writeFile(file, "newer").ok());
    EXPECT_EQ(text(folder / "hard"), "through") << "another name of the old file";
    const std::size_t files = count();
    {
        auto unfinished = AtomicFile::create(file);
        ASSERT_TRUE(unfinished.ok());
        unfinished->write(std::string(1'000'000, 'x'));
        EXPECT_EQ(count(), files + 1);
    }
    EXPECT_EQ(count(), files) << "discarded without a trace";
    EXPECT_EQ(text(file), "newer");
}

TEST_F(AtomicFiles, refuse_what_is_no_file) {
    fs::create_symlink("circle", folder / "circle");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/full", folder / "full");
    const std::size_t files = count();
    const std::pair<fs::path, const char*> refused[] = {
        {"", "empty"},
        {folder, "directory"},
        {folder / "circle", "symbolic links"},
        {folder / "pipe", "pipe"},
        {folder / "full", "device"},
        {folder / "no" / "a", "No such file"},
    };
    for (const auto& [path, why] : refused) {
        const auto written = writeFile(path, "x");
        ASSERT_FALSE(written.ok()) << path;
        EXPECT_NE(written.problem().text().find(why), std::string::npos)
            << written.problem().text();
        EXPECT_FALSE(checkWritable(path).ok()) << path << ": a dry run says the same";
    }
    EXPECT_EQ(count(), files);
    EXPECT_TRUE(writeFile("/dev/null", "x").ok());
    for (const fs::path& endless : {folder / "pipe", fs::path("/dev/zero"), folder})
        EXPECT_NE(text(endless).find("not a regular file"), std::string::npos) << endless;
    EXPECT_TRUE(isSamePlace(folder / "." / "a", file));
    EXPECT_FALSE(isSamePlace(folder / "circle", file));
}

TEST_F(AtomicFiles, a_full_disk_is_an_error_and_costs_nothing) {
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    rlimit little = usual;
    little.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &little), 0);
    const auto written = writeFile(file, std::string(100'000, 'x'));
    setrlimit(RLIMIT_FSIZE, &usual);
    std::signal(SIGXFSZ, before);
    ASSERT_FALSE(written.ok());
    EXPECT_NE(written.problem().text().find("File too large"), std::string::npos);
    EXPECT_EQ(text(file), "old");
    EXPECT_EQ(count(), 1u);
}

// What a process leaves that is killed while it writes, in the words of one that writes there next.
TEST_F(AtomicFiles, what_a_killed_process_left_is_removed_and_nothing_that_is_in_use) {
    std::array<char, 256> machine{};
    ASSERT_EQ(gethostname(machine.data(), machine.size() - 1), 0);
    const std::string own = ".cadencora-" + std::string(machine.data()) + "-";
    const fs::path abandoned = folder / (own + "abcdef"), used = folder / (own + "ghijkl"),
                   foreign = folder / ".cadencora-elsewhere-abcdef";
    for (const fs::path& path : {abandoned, used, foreign, folder / ".cadencora-x"})
        std::ofstream(path) << "half";
    const int descriptor = open(used.c_str(), O_RDONLY);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    fs::rename(folder, testFolder() / "moved");
    folder = testFolder() / "moved";
    ASSERT_TRUE(writeFile(folder / "b", "new").ok());
    EXPECT_FALSE(fs::exists(folder / abandoned.filename()));
    EXPECT_TRUE(fs::exists(folder / used.filename()));
    EXPECT_TRUE(fs::exists(folder / foreign.filename()));
    EXPECT_TRUE(fs::exists(folder / ".cadencora-x")) << "a name that is not of this kind";
    EXPECT_EQ(takeLeftByOthers(), std::vector{folder / foreign.filename()});
    EXPECT_TRUE(takeLeftByOthers().empty());
    close(descriptor);
}

} // namespace
} // namespace cadencora::stage
