// --codepage reaching the readers of files that do not name their code page.
#include "cli_test_support.h"

using namespace rq::clitest;

// The option reaches every reader the same way; how each reader decodes is
// a reader test (the Btrieve dictionary's code page 866 among them).
TEST_F(CliTest, TextFilesInTheGivenCodePage) {
    // "Привет" in code page 1251, and the same word in UTF-8 after a byte-order mark.
    write("db/w.csv", "id,name\r\n1,\xCF\xF0\xE8\xE2\xE5\xF2\r\n");
    write("db/u.csv",
          "\xEF\xBB\xBFid,name\r\n1,\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82\r\n");
    const std::string privet = "\"id\",\"name\"\r\n\"1\",\"Привет\",\r\n\r\n";
    EXPECT_EQ(
        written({"export", path("db/w.csv"), "--table", "w#csv", "--codepage", "1251"}, "w.txt"),
        privet);
    // A byte-order mark outweighs the option.
    EXPECT_EQ(
        written({"export", path("db/u.csv"), "--table", "u#csv", "--codepage", "1251"}, "u.txt"),
        privet);
    // Without the option the bytes are not UTF-8 and read as code page 1252.
    EXPECT_EQ(
        written({"export", path("db/w.csv"), "--table", "w#csv"}, "d.txt"),
        "\"id\",\"name\"\r\n\"1\",\"\xC3\x8F\xC3\xB0\xC3\xA8\xC3\xA2\xC3\xA5\xC3\xB2\",\r\n\r\n");
    expectError({"export", path("db/w.csv"), "--table", "w#csv", "--codepage", "x1251", "-o",
                 path("x.txt")},
                1);
}
