#include "platform/file.h"

#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using TempFiles::Folder;

namespace {

class AreSameFile : public testing::Test {
  protected:
    Folder folder;
    const std::string file = folder.write("file", "content");
};

TEST_F(AreSameFile, OneFileUnderAnyName) {
    EXPECT_TRUE(areSameFile(file, file));
    EXPECT_TRUE(areSameFile(file, folder.path() + "/./file"));
    const std::string symbolic = folder.pathOf("symbolic");
    const std::string hard = folder.pathOf("hard");
    std::filesystem::create_symlink("file", symbolic);
    std::filesystem::create_hard_link(file, hard);
    for (const std::string& link : {symbolic, hard}) {
        EXPECT_TRUE(areSameFile(file, link)) << link;
        EXPECT_TRUE(areSameFile(link, file)) << link;
    }
}

TEST_F(AreSameFile, TwoFilesWithTheSameContentAreTwo) {
    EXPECT_FALSE(areSameFile(file, folder.write("other", "content")));
}

TEST_F(AreSameFile, AMissingFileIsLikeNoOther) {
    const std::string missing = folder.pathOf("missing");
    const std::string dangling = folder.pathOf("dangling");
    std::filesystem::create_symlink("missing", dangling);
    EXPECT_FALSE(areSameFile(file, missing));
    EXPECT_FALSE(areSameFile(missing, file));
    EXPECT_FALSE(areSameFile(missing, missing));
    EXPECT_FALSE(areSameFile(dangling, missing));
}

TEST_F(AreSameFile, WhatCannotBeDestroyedIsNoFile) {
    EXPECT_FALSE(areSameFile("/dev/null", "/dev/null"));
    EXPECT_FALSE(areSameFile(folder.path(), folder.path()));
}

} // namespace
