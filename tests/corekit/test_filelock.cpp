#include "runtimetools.h"

#include <corekit/filelock.h>

namespace corekit::test::test_filelock {

TEST(FileLock, OneHolderAtATimeWhoIsNamed) {
    TempFolder const folder;
    Path const path = folder / "Master.lock";
    EXPECT_FALSE(FileLock::IsHeld(path));
    File::WriteWhole(path, "left behind", 0644);
    auto lock = FileLock::TryTake(path, "VorlanMaster");
    ASSERT_TRUE(lock);
    EXPECT_EQ(std::filesystem::status(path.Native()).permissions(), std::filesystem::perms(0600))
        << "whoever may open it may lock it";
    String const expected = SFormat("VorlanMaster (%d)", static_cast<int>(getpid()));
    String holder;
    EXPECT_FALSE(FileLock::TryTake(path, "Other", &holder));
    EXPECT_EQ(holder, expected);
    holder.clear();
    int processId = 0;
    EXPECT_TRUE(FileLock::IsHeld(path, &holder, &processId));
    EXPECT_EQ(holder, expected);
    EXPECT_EQ(processId, getpid());
    lock.reset();
    EXPECT_FALSE(path.Exists());
    EXPECT_TRUE(FileLock::TryTake(path, "Other"));
    EXPECT_THROW(FileLock::TryTake("/no/such/folder/x.lock", "x"), FileException);
}

TEST(FileLock, TheLockOfADeadProcessIsTakenSilently) {
    TempFolder const folder;
    Path const path = folder / "Engine.lock";
    ASSERT_EQ(EndOf(Fork([&] { return FileLock::TryTake(path, "VorlanEngine").release() ? 0 : 1; })), 0);
    EXPECT_TRUE(path.Exists());
    EXPECT_FALSE(FileLock::IsHeld(path));
    EXPECT_TRUE(FileLock::TryTake(path, "VorlanEngine"));
}

TEST(FileLock, TakersAndAskersInARaceNeverShareIt) {
    TempFolder const folder;
    Path const path = folder / "race.lock";
    std::atomic<int> inside{0};
    std::atomic<int> taken{0};
    std::atomic<bool> shared{false};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                FileLock::IsHeld(path);
                auto const lock = FileLock::TryTake(path, "racer");
                if (!lock)
                    continue;
                if (++inside != 1)
                    shared = true;
                ++taken;
                std::this_thread::yield();
                --inside;
            }
        });
    threads.clear();
    EXPECT_FALSE(shared);
    EXPECT_GT(taken, 0);
}

} // namespace corekit::test::test_filelock
