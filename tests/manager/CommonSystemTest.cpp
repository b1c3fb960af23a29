// The helper functions for libraries, directories, the program's name and the clock.
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "Common/CommonFun.h"

namespace {

std::string WorkingDirectory()
{
    char* const path = getcwd(nullptr, 0);
    const std::string directory = nullptr == path ? "" : path;
    std::free(path);
    return directory;
}

// Asked before anything in this process can have set a name.
const std::string s_firstDirectory = WorkingDirectory();
const std::string s_firstName = GetExName();

/// A directory of its own, in which the test finds itself, and the way back.
class Directory
{
public:
    Directory() : m_back(open(".", O_RDONLY | O_DIRECTORY))
    {
        char path[] = "/tmp/fisheye-common-XXXXXX";
        m_path = mkdtemp(path);
        Enter(m_path);
    }
    ~Directory()
    {
        EXPECT_EQ(fchdir(m_back), 0);
        close(m_back);
        rmdir(m_path.c_str());
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    const std::string& Path() const { return m_path; }

    static void Enter(const std::string& name) { EXPECT_EQ(chdir(name.c_str()), 0) << name; }

private:
    int m_back;
    std::string m_path;
};

// Libraries.

TEST(CommonSystem, ALibraryIsOpenedByItsFileNameItsNamesFoundAndClosed)
{
    void* const library = LDLib("libplaysdk.dylib");
    ASSERT_NE(library, nullptr);
    EXPECT_NE(GetFunc(library, "RV_Play"), nullptr);
    EXPECT_EQ(GetFunc(library, "RV_NoSuchEntry"), nullptr);
    EXPECT_EQ(GetFunc(library, ""), nullptr);
    EXPECT_EQ(FreeLib(library), 0);
}

TEST(CommonSystem, AMissingLibraryGivesNull)
{
    EXPECT_EQ(LDLib("no-such-library.dylib"), nullptr);
    EXPECT_EQ(LDLib("/"), nullptr);
}

TEST(CommonSystem, ClosingNothingFails)
{
    EXPECT_EQ(FreeLib(nullptr), -1);
}

TEST(CommonSystem, ALibraryIsBoundLazilyAndItsNamesStayItsOwn)
{
    void* const library = LDLib(LAZY_LIBRARY);  // calls a function that nobody defines
    ASSERT_NE(library, nullptr);
    EXPECT_NE(GetFunc(library, "LazyLibraryEntry"), nullptr);
    EXPECT_EQ(GetFunc(nullptr, "LazyLibraryEntry"), nullptr);
    EXPECT_EQ(FreeLib(library), 0);
}

// The clock.

TEST(CommonSystem, ATickIsAWholeSecondOfTheMonotonicClock)
{
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    const std::uint64_t tick = GetTick();
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_GE(tick, static_cast<std::uint64_t>(before.tv_sec));
    EXPECT_LE(tick, static_cast<std::uint64_t>(after.tv_sec));
}

// The path of the program.

class ExNameTest : public ::testing::Test
{
protected:
    ~ExNameTest() override { SetExName(""); }
};

TEST_F(ExNameTest, BeforeAnyIsSetItIsTheWorkingDirectory)
{
    EXPECT_FALSE(s_firstDirectory.empty());
    EXPECT_EQ(s_firstName, s_firstDirectory);
}

TEST_F(ExNameTest, WhatIsSetIsKeptAsItIs)
{
    SetExName("/opt/client/");
    EXPECT_EQ(GetExName(), "/opt/client/");
    EXPECT_EQ(GetExName(), "/opt/client/");
    SetExName("other");
    EXPECT_EQ(GetExName(), "other");
}

TEST_F(ExNameTest, TheWorkingDirectoryIsNotStored)
{
    const std::string before = GetExName();
    const Directory directory;
    EXPECT_EQ(GetExName(), directory.Path());
    EXPECT_NE(GetExName(), before);
}

TEST_F(ExNameTest, AnEmptyNameReadsAsNoneSet)
{
    SetExName("/opt/client/");
    SetExName("");
    EXPECT_EQ(GetExName(), WorkingDirectory());
}

TEST_F(ExNameTest, ADirectoryThatIsGoneGivesAnEmptyName)
{
    const Directory directory;
    ASSERT_EQ(rmdir(directory.Path().c_str()), 0);
    EXPECT_EQ(GetExName(), "");
}

TEST_F(ExNameTest, AWorkingDirectoryOf2047CharactersIsTheLongestThatFits)
{
    const Directory directory;
    std::vector<std::string> names;
    const auto descend = [&names](std::size_t characters) {
        names.emplace_back(characters, 'd');
        ASSERT_EQ(CreateDir(names.back()), 0);
        Directory::Enter(names.back());
    };
    const auto ascend = [&names] {
        Directory::Enter("..");
        EXPECT_EQ(rmdir(names.back().c_str()), 0);
        names.pop_back();
    };
    while (WorkingDirectory().size() < 1800)
        descend(200);
    const std::size_t rest = 2047 - 1 - WorkingDirectory().size();
    descend(rest);
    EXPECT_EQ(GetExName().size(), 2047U);
    EXPECT_EQ(GetExName(), WorkingDirectory());
    ascend();
    descend(rest + 1);
    EXPECT_EQ(GetExName(), "");
    while (!names.empty())
        ascend();
}

// Directories and files.

TEST(CommonSystem, ADirectoryIsMadeWithMode0755)
{
    const Directory directory;
    const mode_t mask = umask(0);
    EXPECT_EQ(CreateDir("made"), 0);
    umask(mask);
    struct stat made = {};
    ASSERT_EQ(stat("made", &made), 0);
    EXPECT_TRUE(S_ISDIR(made.st_mode));
    EXPECT_EQ(made.st_mode & 07777U, 0755U);
    rmdir("made");
}

TEST(CommonSystem, NeitherParentsNorAnExistingDirectoryAreMade)
{
    const Directory directory;
    EXPECT_EQ(CreateDir("parent/child"), -1);
    EXPECT_EQ(CreateDir("made"), 0);
    EXPECT_EQ(CreateDir("made"), -1);
    EXPECT_EQ(CreateDir(""), -1);
    rmdir("made");
}

TEST(CommonSystem, OnlyAnEmptyDirectoryIsDeleted)
{
    const Directory directory;
    CreateDir("made");
    CreateDir("made/child");
    EXPECT_FALSE(DeleteDirectory("made"));
    EXPECT_TRUE(FileAccessible("made/child", F_OK));
    EXPECT_TRUE(DeleteDirectory("made/child"));
    EXPECT_TRUE(DeleteDirectory("made"));
    EXPECT_FALSE(FileAccessible("made", F_OK));
    EXPECT_FALSE(DeleteDirectory("made"));
}

TEST(CommonSystem, DeletingAnEmptyPathSucceeds)
{
    EXPECT_TRUE(DeleteDirectory(""));
}

TEST(CommonSystem, AFileIsNotADirectoryToDelete)
{
    const Directory directory;
    std::ofstream("file") << "text";
    EXPECT_FALSE(DeleteDirectory("file"));
    EXPECT_TRUE(FileAccessible("file", F_OK));
    unlink("file");
}

TEST(CommonSystem, AccessIsAskedForInTheModeGiven)
{
    const Directory directory;
    std::ofstream("file") << "text";
    chmod("file", 0600);
    EXPECT_TRUE(FileAccessible("file", F_OK));
    EXPECT_TRUE(FileAccessible("file", R_OK | W_OK));
    EXPECT_FALSE(FileAccessible("file", X_OK));  // for the superuser too
    chmod("file", 0700);
    EXPECT_TRUE(FileAccessible("file", X_OK));
    unlink("file");
    EXPECT_FALSE(FileAccessible("file", F_OK));
    EXPECT_FALSE(FileAccessible("", F_OK));
}

// The running program, as its shell has set it.

class ModuleFileNameTest : public ::testing::Test
{
protected:
    ModuleFileNameTest() { setenv("_", "/opt/client", 1); }
    ~ModuleFileNameTest() override { unsetenv("_"); }

    /// Result and the whole area of 'Z' that was offered in part.
    int Get(const char* name, int length)
    {
        m_area.assign(24, 'Z');
        std::string writable = name;
        return GetModuleFileNameEx(writable.data(), m_area.data() + 4, length);
    }

    std::string m_area;
};

TEST_F(ModuleFileNameTest, IsCopiedAndTheRestOfTheLengthFilledWithZeros)
{
    EXPECT_EQ(Get("client", 16), 0);
    EXPECT_EQ(m_area, std::string("ZZZZ/opt/client\0\0\0\0\0ZZZZ", 24));
}

TEST_F(ModuleFileNameTest, IsCutWithoutATerminatorWhereItDoesNotFit)
{
    EXPECT_EQ(Get("client", 11), 0);
    EXPECT_EQ(m_area, "ZZZZ/opt/clientZZZZZZZZZ");
    EXPECT_EQ(Get("client", 4), 0);
    EXPECT_EQ(m_area, "ZZZZ/optZZZZZZZZZZZZZZZZ");
}

TEST_F(ModuleFileNameTest, IsNotWrittenWhereThereIsNoRoom)
{
    for (const int length : {0, -1, INT32_MIN}) {
        EXPECT_EQ(Get("client", length), 0);
        EXPECT_EQ(m_area, std::string(24, 'Z'));
    }
}

TEST_F(ModuleFileNameTest, IsFoundByAnyPartOfIt)
{
    EXPECT_EQ(Get("/opt/client", 16), 0);
    EXPECT_EQ(Get("pt/c", 16), 0);
    EXPECT_EQ(Get("", 16), 0);
}

TEST_F(ModuleFileNameTest, IsRefusedUnderAnotherName)
{
    EXPECT_EQ(Get("server", 16), -1);
    EXPECT_EQ(Get("/opt/client2", 16), -1);
    EXPECT_EQ(Get("Client", 16), -1);
    EXPECT_EQ(m_area, std::string(24, 'Z'));
}

TEST_F(ModuleFileNameTest, IsUnknownWhereTheShellHasNotSetIt)
{
    unsetenv("_");
    EXPECT_EQ(Get("client", 16), -1);
    EXPECT_EQ(Get("", 16), -1);
    EXPECT_EQ(m_area, std::string(24, 'Z'));
}

TEST_F(ModuleFileNameTest, IsRefusedToNullPointers)
{
    char name[] = "client";
    EXPECT_EQ(GetModuleFileNameEx(nullptr, name, 6), -1);
    EXPECT_EQ(GetModuleFileNameEx(name, nullptr, 6), -1);
}

}  // namespace
