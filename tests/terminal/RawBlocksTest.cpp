// The blocks of a raw data archive: where one ends and the next begins, however the archive is cut into
// pieces.
#include "terminal/RawBlocks.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

struct CloseStream {
    void operator()(std::FILE* stream) const { static_cast<void>(std::fclose(stream)); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

Stream ArchiveOf(const std::string& bytes) {
    Stream archive(std::tmpfile());
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), archive.get()), bytes.size());
    std::rewind(archive.get());
    return archive;
}

std::string Marker(const std::string& name) {
    return ("\r\n<<<<<~~~~~(" + name + ")~~~~~>>>>>\r\n").substr(0, 255);
}

struct Content {
    std::string name;
    std::string bytes;
    bool operator==(const Content& other) const { return name == other.name && bytes == other.bytes; }
};

std::ostream& operator<<(std::ostream& out, const Content& content) {
    return out << content.name << ": " << content.bytes.size() << " bytes";
}

std::vector<Content> ContentsOf(const std::string& bytes) {
    const Stream archive = ArchiveOf(bytes);
    BlockScanner scanner(archive.get());
    std::vector<Content> contents;
    std::optional<std::string> name = scanner.Next([](std::string_view) {});
    while (name) {
        contents.push_back({*name, ""});
        name = scanner.Next([&](std::string_view piece) { contents.back().bytes += piece; });
    }
    return contents;
}

}  // namespace

TEST(RawBlocks, ContentsAreTheirBytes) {
    const std::string zeros("a\0b\r\n", 5);
    EXPECT_EQ(ContentsOf(Marker("a.txt") + "xyz" + Marker("b.txt") + zeros + Marker("c") + Marker("")),
              (std::vector<Content>{{"a.txt", "xyz"}, {"b.txt", zeros}, {"c", ""}, {"", ""}}));
    EXPECT_EQ(ContentsOf(""), std::vector<Content>());
    EXPECT_EQ(ContentsOf("no archive"), std::vector<Content>());
}

TEST(RawBlocks, WhatOnlyLooksLikeAMarkerIsContent) {
    for (const std::string look : {"\n<<<<<~~~~~(b)~~~~~>>>>>\r\n", "\r\n<<<<<~~~~~(b)~~~~>>>>>\r\n",
                                   "\r\n<<<<<~~~~~(b)~~~~~>>>>>\n", "\r\n<<<<<~~~~~(b\n)~~~~~>>>>>\r\n",
                                   "\r\n<<<<<~~~~~(b)~~~~~>>>>", "\r\n<<<<<~~~~~(", "\r\n<<<<<~~~~~", "\r"})
        EXPECT_EQ(ContentsOf(Marker("a") + look), (std::vector<Content>{{"a", look}})) << look;
}

TEST(RawBlocks, MarkerBehindTheBeginningOfOneIsFound) {
    EXPECT_EQ(ContentsOf(Marker("a") + "\r\n<<<<<~~~~~(" + Marker("b") + "\r\n" + Marker("c")),
              (std::vector<Content>{{"a", "\r\n<<<<<~~~~~("}, {"b", "\r\n"}, {"c", ""}}));
}

TEST(RawBlocks, BlocksLeftHalfWrittenArePassedOver) {
    std::string torn = Marker("a");
    torn.front() = '\0';
    EXPECT_EQ(ContentsOf(torn + "x" + Marker("b") + "yz" + torn + "yy" + torn + "x" + Marker("a") + "xx"),
              (std::vector<Content>{{"b", "yz"}, {"a", "xx"}}));
    const std::string look("\0\n<<<<<~~~~~(a)", 15);
    EXPECT_EQ(ContentsOf(Marker("b") + look), (std::vector<Content>{{"b", look}}));
}

TEST(RawBlocks, MarkersAreFoundWhereverTheArchiveIsCut) {
    constexpr std::size_t kWindow = std::size_t{1} << 16;
    const std::string head = Marker("first");
    for (std::size_t before = 0; before <= 300; ++before) {
        const std::string content(kWindow - head.size() - before, 'x');
        ASSERT_EQ(ContentsOf(head + content + Marker("second") + "yz"),
                  (std::vector<Content>{{"first", content}, {"second", "yz"}}))
            << before << " bytes before the end of a window";
    }
}

TEST(RawBlocks, LongNamesAreCutWithTheirMarkers) {
    const std::string fits(229, 'n');
    const std::string cut(242, 'n');
    EXPECT_EQ(ContentsOf(Marker(fits) + "x" + Marker(cut + "nnn") + "y" + Marker("b")),
              (std::vector<Content>{{fits, "x"}, {cut, "y"}, {"b", ""}}));
}

TEST(RawBlocks, ListCountsBytes) {
    const Stream archive = ArchiveOf(Marker("a") + std::string(200000, '\r') + Marker("b"));
    const std::vector<RawBlock> blocks = ListBlocks(archive.get());
    ASSERT_EQ(blocks.size(), 2U);
    EXPECT_EQ(blocks[0].name, "a");
    EXPECT_EQ(blocks[0].bytes, 200000U);
    EXPECT_EQ(blocks[1].bytes, 0U);
}
