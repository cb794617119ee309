#include "test.h"

#include <vorlan/farmkey.h>

#include <vorlan/fwd.h>

namespace vorlan::test_farmkey {

unsigned ModeOf(Path const& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 0777u : 0;
}

TEST(FarmKey, IsMadeOnceAndJoinedElsewhere) {
    TempFolder const master;
    TempFolder const engine;
    EXPECT_TRUE(FarmKey::Load(master.Folder()).IsNull());
    FarmKey const made = FarmKey::LoadOrCreate(master.Folder());
    EXPECT_FALSE(made.IsNull() || made.IsJoined());
    EXPECT_EQ(made.Fingerprint().size(), 64u);
    for (Path const& secret : {FarmKey::FilePath(master.Folder()), master / "certificate.pem"})
        EXPECT_EQ(ModeOf(secret), 0600u) << secret;
    EXPECT_EQ(FarmKey::LoadOrCreate(master.Folder()), made);

    FarmKey::FromText("  " + made.Text() + "\n").Join(engine.Folder());
    FarmKey const joined = FarmKey::Load(engine.Folder());
    EXPECT_TRUE(joined == made && joined.IsJoined());
    EXPECT_EQ(joined.Fingerprint(), made.Fingerprint());
    EXPECT_EQ(ModeOf(FarmKey::FilePath(engine.Folder())), 0600u);
}

TEST(FarmKey, ProgramsThatStartTogetherAgree) {
    for (int round = 0; round < 10; ++round) {
        TempFolder const folder;
        std::vector<FarmKey> keys(4);
        std::vector<std::thread> threads;
        for (FarmKey& key : keys)
            threads.emplace_back([&] { key = FarmKey::LoadOrCreate(folder.Folder()); });
        for (std::thread& thread : threads)
            thread.join();
        for (FarmKey const& key : keys) {
            EXPECT_EQ(key, keys[0]);
            EXPECT_EQ(key.Text(), FarmKey::Load(folder.Folder()).Text());
        }
        EXPECT_EQ(folder.Names().size(), 2u) << "a temporary file was left behind";
    }
}

TEST(FarmKey, OtherTextIsRefused) {
    TempFolder const folder;
    String const good = FarmKey::Create(folder.Folder()).Text();
    for (String const& bad :
         {String(), String("vorlan1"), String("vorlan1-"), good.Mid(1), good.Mid(0, good.size() - 1), good + "0",
          String("vorlan2") + good.Mid(7), good.LeftLast("-") + "-", good + "-" + good.RightLast("-"),
          "vorlan1-" + String(64, '0'), good.Mid(0, 20) + "g" + good.Mid(21), String(100'000, 'a')})
        EXPECT_THROW(FarmKey::FromText(bad), ParseException) << bad.Mid(0, 200);
    EXPECT_EQ(FarmKey::FromText(good).Text(), good);
    File::WriteWhole(FarmKey::FilePath(folder.Folder()), "rubbish");
    try {
        FarmKey::Load(folder.Folder());
        FAIL() << "a damaged key was taken";
    } catch (ParseException const& exception) {
        EXPECT_TRUE(exception.Message().Contains("vorlan key join")) << exception.what();
    }
}

TEST(FarmKey, SecretsThatOthersCanReadAreClosed) {
    TempFolder const folder;
    FarmKey const key = FarmKey::Create(folder.Folder());
    ASSERT_EQ(::chmod(FarmKey::FilePath(folder.Folder()).c_str(), 0644), 0);
    LogLines lines;
    EXPECT_EQ(FarmKey::Load(folder.Folder()), key);
    EXPECT_EQ(ModeOf(FarmKey::FilePath(folder.Folder())), 0600u);
    ASSERT_EQ(lines.Get().size(), 1u);
    EXPECT_TRUE(lines.Get()[0].Contains("farm.key"));

    // What a link points to is left alone.
    Path const target = folder / "elsewhere";
    std::filesystem::rename(FarmKey::FilePath(folder.Folder()).Native(), target.Native());
    ASSERT_EQ(::chmod(target.c_str(), 0644), 0);
    std::filesystem::create_symlink(target.Native(), FarmKey::FilePath(folder.Folder()).Native());
    EXPECT_EQ(FarmKey::Load(folder.Folder()), key);
    EXPECT_EQ(ModeOf(target), 0644u);
}

TEST(FarmKey, AProofHoldsForOneKeyPurposeAndText) {
    FarmKey const key = FarmKey::Fresh();
    auto const proof = key.Proof("greeting", "text");
    std::string_view const bytes(reinterpret_cast<char const*>(proof.data()), proof.size());
    EXPECT_TRUE(key.Verify("greeting", "text", bytes));
    EXPECT_FALSE(FarmKey::Fresh().Verify("greeting", "text", bytes));
    EXPECT_FALSE(FarmKey().Verify("greeting", "text", bytes));
    EXPECT_FALSE(key.Verify("greetin", "gtext", bytes));
    EXPECT_FALSE(key.Verify("greeting", "text2", bytes));
    EXPECT_FALSE(key.Verify("greeting", "text", bytes.substr(0, 31)));
}

} // namespace vorlan::test_farmkey
