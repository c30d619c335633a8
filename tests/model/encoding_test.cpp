// Encodings of values inside documents: file URLs, UUIDs, base64 and dates.
#include <gtest/gtest.h>

#include "model/date.h"
#include "model/encoding.h"
#include "model/uuid.h"

namespace kelo {
namespace {

TEST(EncodingTest, FileUrlsRoundTripEveryByteANameCanHold) {
    std::string everyByte = "/";
    for (int c = 1; c < 256; ++c)
        if (c != '/') everyByte += static_cast<char>(c);
    for (const std::string& path : {std::string("/home/d/Bài Đăng #1 100%.psd"), std::string("/a/new\nline?x=1&y"),
                                   std::string("/a/\xff\xfe invalid utf8"), everyByte}) {
        const std::string url = fileUrl(path);
        EXPECT_EQ(url.rfind("file:///", 0), 0u) << url;
        EXPECT_EQ(url.find(' '), std::string::npos);
        EXPECT_EQ(url.find('#'), std::string::npos);
        ASSERT_TRUE(pathFromFileUrl(url)) << url;
        EXPECT_EQ(pathFromFileUrl(url)->native(), path);
    }
    EXPECT_EQ(fileUrl("/a b/c"), "file:///a%20b/c");
    EXPECT_FALSE(pathFromFileUrl("/a/b"));
    EXPECT_FALSE(pathFromFileUrl("file://relative"));
    EXPECT_FALSE(pathFromFileUrl("file:///bad%zz"));
    EXPECT_FALSE(pathFromFileUrl("file:///cut%4"));
    EXPECT_FALSE(pathFromFileUrl("file:///nul%00byte"));
}

TEST(EncodingTest, Base64RoundTripsAllLengths) {
    Bytes bytes;
    for (int n = 0; n < 10; ++n) {
        auto text = base64Encode(bytes);
        auto back = base64Decode(text);
        ASSERT_TRUE(back) << text;
        EXPECT_EQ(*back, bytes);
        bytes.push_back(static_cast<std::uint8_t>(250 + n));
    }
    EXPECT_EQ(base64Encode(Bytes{'M', 'a'}), "TWE=");
    EXPECT_FALSE(base64Decode("abc"));
    EXPECT_FALSE(base64Decode("a*c="));
}

TEST(EncodingTest, UuidTextIsUpperCaseAndParsesEitherCase) {
    const Uuid id = Uuid::random();
    const std::string text = id.text();
    ASSERT_EQ(text.size(), 36u);
    EXPECT_EQ(text[14], '4');  // version 4
    for (char c : text) EXPECT_FALSE(c >= 'a' && c <= 'z') << text;
    EXPECT_EQ(Uuid::parse(text), id);
    std::string lower = text;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    EXPECT_EQ(Uuid::parse(lower), id);
    EXPECT_FALSE(Uuid::parse("E621E1F8C36C495A93FC0C247A3E6E5F"));
    EXPECT_FALSE(Uuid::parse("G621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
    EXPECT_NE(Uuid::random(), Uuid::random());
}

TEST(EncodingTest, DatesCountFrom2001AndPrintShortest) {
    EXPECT_DOUBLE_EQ(Date::fromUnix(978307200).sinceReference, 0);
    EXPECT_DOUBLE_EQ(Date::fromTimespec(978307201, 250000000).sinceReference, 1.25);
    EXPECT_EQ(shortestDecimal(1700000000.0), "1700000000.0");
    EXPECT_EQ(shortestDecimal(1700000000.25), "1700000000.25");
    EXPECT_EQ(shortestDecimal(0.1), "0.1");
    EXPECT_EQ(shortestDecimal(-3), "-3.0");
}

}  // namespace
}  // namespace kelo
