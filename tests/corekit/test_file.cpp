#include "test.h"

namespace corekit::test_file {

using Fault = FaultyLayer::Fault;

int ModeOf(Path const& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? static_cast<int>(info.st_mode & 07777) : -1;
}

TEST(File, AFailedWriteLeavesTheOldFileWholeAndSaysWhatToDo) {
    String const big(100000, 'n');
    Rows<Fault, size_t, char const*> const cases = {
        {Fault::FullDisk, 0, "Free some space"}, {Fault::FullDisk, 5000, "Free some space"},
        {Fault::Open, 0, "access rights"},       {Fault::Sync, 0, "Check the disk"},
        {Fault::Close, 0, "Free some space"},    {Fault::Rename, 0, "access rights"}};
    for (auto const& [fault, roomBytes, advice] : cases) {
        TempFolder const folder;
        Path const path = folder / "options.ini";
        File::WriteWhole(path, "old");
        {
            FaultyLayer layer;
            layer.fault = fault;
            layer.roomBytes = roomBytes;
            try {
                File::WriteWhole(path, big);
                ADD_FAILURE() << "no exception for fault " << static_cast<int>(fault);
            } catch (FileException const& exception) {
                EXPECT_TRUE(exception.Message().Contains(path)) << exception.what();
                EXPECT_TRUE(exception.Message().Contains(advice)) << exception.what();
                EXPECT_FALSE(exception.Detail().Empty());
            }
        }
        EXPECT_EQ(File::Read(path), "old");
        EXPECT_EQ(folder.Names().size(), 1u) << "a temporary file was left behind";
    }
}

TEST(File, AccessRightsOfWhatIsWritten) {
    TempFolder const folder;
    Path const path = folder / "a";
    File::WriteWhole(path, "1");
    EXPECT_EQ(ModeOf(path), 0644);
    File::SetMode(77);
    File::WriteWhole(path, "2");
    EXPECT_EQ(ModeOf(path), 0600);
    // The mode was for one write; from then on the file keeps its rights.
    File::WriteWhole(path, "3");
    EXPECT_EQ(ModeOf(path), 0600);
    File::WriteWhole(path, "4", 0640);
    EXPECT_EQ(ModeOf(path), 0640);
    for (int const bad : {-1, 8, 90, 778, 1000})
        EXPECT_THROW(File::SetMode(bad), ArgumentException) << bad;
    // A failed write does not pass its mode on.
    File::SetMode(77);
    EXPECT_THROW(File::WriteWhole(folder / "no/such/folder", "x"), FileException);
    File::WriteWhole(folder / "b", "x");
    EXPECT_EQ(ModeOf(folder / "b"), 0644);
}

TEST(File, AWriteFollowsALink) {
    TempFolder const folder;
    File::WriteWhole(folder / "real", "old");
    std::filesystem::create_symlink("real", (folder / "link").Native());
    File::WriteWhole(folder / "link", "new");
    EXPECT_EQ(File::Read(folder / "real"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink((folder / "link").Native()));
}

TEST(File, ReadsDeletesAndMovesAside) {
    TempFolder const folder;
    Path const path = folder / "a";
    String const bytes(std::string_view("\0\r\n\xFF", 4));
    EXPECT_THROW(File::Read(path), FileException);
    EXPECT_THROW(File::Read(folder.Folder()), FileException);
    EXPECT_EQ(File::Size(path), -1);
    EXPECT_FALSE(File::Delete(path));
    File::WriteWhole(path, bytes);
    EXPECT_EQ(File::Size(path), 4);
    EXPECT_EQ(File::MoveAside(path), path + ".damaged");
    File::WriteWhole(path, "second");
    EXPECT_EQ(File::MoveAside(path), path + ".damaged-2");
    EXPECT_EQ(File::Read(path + ".damaged"), bytes);
    EXPECT_THROW(File::MoveAside(path), FileException);
    EXPECT_TRUE(File::Delete(path + ".damaged"));
    EXPECT_THROW(File::Delete(folder.Folder()), FileException);
    File::MakeFolder(folder / "x/y/z");
    EXPECT_TRUE((folder / "x/y/z").IsFolder());
    EXPECT_THROW(File::MakeFolder(path + ".damaged-2/x"), FileException);
}

TEST(File, FoldersFollowTheHomeOfTheSystem) {
    TempFolder const folder;
    EnvironmentValue const own("HOME", folder.Folder().c_str());
    EnvironmentValue const config("XDG_CONFIG_HOME", "not/absolute");
    EnvironmentValue const temp("TMPDIR", folder.Folder().c_str());
    {
        EnvironmentValue const home("VORLAN_HOME", folder.Folder().c_str());
        EXPECT_EQ(File::GetUserDir(), folder / "user");
        EXPECT_EQ(File::GetMachineDir(), folder / "machine");
        EXPECT_EQ(File::GetConnectionFile(), folder / "Connection.ini");
        EXPECT_EQ(File::GetTempDir().Branch(), folder.Folder());
    }
    EnvironmentValue const home("VORLAN_HOME", nullptr);
    EXPECT_EQ(File::GetUserDir(), folder / ".config/vorlan");
    EXPECT_EQ(File::GetConnectionFile(), File::s_AppDir / "Connection.ini");
    EXPECT_EQ(File::GetUserConnectionFile(), folder / ".config/vorlan/Connection.ini");
    EXPECT_EQ(File::s_AppDir, Path(std::filesystem::read_symlink("/proc/self/exe")).Branch());
    // What lies at our place in the folder of all users may be a trap.
    Path const expected = folder / ("vorlan-" + String::From(geteuid()));
    std::filesystem::create_directory_symlink((folder / "user").Native(), expected.Native());
    EXPECT_EQ(File::GetTempDir(), folder / ".config/vorlan/temp");
    File::Delete(expected);
    EXPECT_EQ(File::GetTempDir(), expected);
    EXPECT_EQ(ModeOf(expected), 0700);
}

} // namespace corekit::test_file
