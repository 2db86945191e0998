// Streams of every kind: transfers, ends, controls, closing, lines.
#include "harness/output.h"
#include "harness/temp_file.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using test::assertion;
using test::TempFile;

constexpr uint32_t kFailed = 0xFFFFFFFF;

const uint8_t* bytes(const std::string& text) {
    return reinterpret_cast<const uint8_t*>(text.data());
}

uint32_t size_of(const std::string& text) { return static_cast<uint32_t>(text.size()); }

// A stream of one kind and what it stands on.
struct BufReader {
    explicit BufReader(const std::string& text) : cells(text.begin(), text.end()) {
        EXPECT_EQ(0U, vrq_IO_Open_Buf_Reader(&record, cells.data(), size_of(text), 7));
    }
    std::vector<uint32_t> cells;
    VRQ_BUF_STREAM record;
};

struct FileReader {
    explicit FileReader(const std::string& text) : file(text) {
        EXPECT_EQ(0U, vrq_IO_Open_File_Reader(&record, file.path()));
    }
    ~FileReader() { vrq_IO_Close(&record.stream); }
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;
    TempFile file;
    VRQ_FILE_STREAM record;
};

struct MemBufReader {
    explicit MemBufReader(const std::string& text) : pool(vrq_MEM_POOL_INIT(nullptr, 0)) {
        vrq_Mem_Buf_Init(&buf, pool, 3);
        EXPECT_EQ(0U, vrq_Mem_Buf_Update(&buf, bytes(text), size_of(text)));
        EXPECT_EQ(0U, vrq_IO_Open_Mem_Buf_Reader(&record, &buf));
    }
    ~MemBufReader() { vrq_Mem_Pool_Destroy(pool); }
    MemBufReader(const MemBufReader&) = delete;
    MemBufReader& operator=(const MemBufReader&) = delete;
    VRQ_MEM_POOL* pool;
    VRQ_MEM_BUF buf;
    VRQ_MEM_BUF_READER record;
};

template <class Kind>
class StreamReader : public testing::Test {};
using Readers = testing::Types<BufReader, FileReader, MemBufReader>;
TYPED_TEST_SUITE(StreamReader, Readers);

TYPED_TEST(StreamReader, CharactersThenEnd) {
    TypeParam reader("ab\xFF");
    VRQ_STREAM* stream = &reader.record.stream;
    EXPECT_EQ('a', static_cast<int>(vrq_IO_Read_Ch(stream)));
    EXPECT_EQ('b', static_cast<int>(vrq_IO_Read_Ch(stream)));
    EXPECT_EQ(0xFFU, vrq_IO_Read_Ch(stream) & 0xFF);
    EXPECT_EQ(0U, stream->error);
    for (int twice = 0; twice < 2; ++twice) {
        EXPECT_EQ(53U, vrq_IO_Read_Ch(stream));
        EXPECT_EQ(19U, stream->error);
    }
    uint8_t out[4];
    EXPECT_EQ(0U, vrq_IO_Read(stream, out, 4));
    EXPECT_EQ(19U, stream->error);
}

TYPED_TEST(StreamReader, RefusesWriting) {
    TypeParam reader("abc");
    VRQ_STREAM* stream = &reader.record.stream;
    EXPECT_EQ(kFailed, vrq_IO_Write_Ch(stream, 'x'));
    EXPECT_EQ(kFailed, vrq_IO_Write(stream, bytes("x"), 1));
    EXPECT_EQ(72U, stream->error);
    EXPECT_EQ('a', static_cast<int>(vrq_IO_Read_Ch(stream))) << "still usable";
    EXPECT_EQ(0U, stream->error);
}

TYPED_TEST(StreamReader, Lines) {
    struct Line {
        uint32_t size;
        uint32_t result;
        const char* text;
        uint32_t error;
    };
    constexpr Line lines[] = {
        {8, 3, "ab\n", 0},     // ends with its newline
        {8, 1, "\n", 0},       // empty
        {3, 2, "c\n", 0},      // fills the buffer to the last byte
        {3, kFailed, "de", 6}, // no room for the newline
        {8, 2, "f\n", 0},      // what was left of that line
        {1, kFailed, "", 6},   // no room for anything
        {8, 2, "gh", 19},      // data end without a newline
        {8, kFailed, "", 19},  // nothing left
    };
    TypeParam reader("ab\n\nc\ndef\ngh");
    for (const Line& line : lines) {
        SCOPED_TRACE(line.text);
        uint8_t out[8];
        std::memset(out, '#', sizeof out);
        EXPECT_EQ(line.result, vrq_IO_Read_Ln(&reader.record.stream, out, line.size));
        EXPECT_STREQ(line.text, reinterpret_cast<char*>(out));
        EXPECT_EQ(line.error, reader.record.stream.error);
        EXPECT_TRUE(std::all_of(out + line.size, out + 8, [](uint8_t c) { return c == '#'; }));
    }
    uint8_t one = '#';
    EXPECT_EQ(kFailed, vrq_IO_Read_Ln(&reader.record.stream, &one, 0));
    EXPECT_EQ('#', one);
}

TYPED_TEST(StreamReader, CloseOnceIsEnough) {
    TypeParam reader("abc");
    VRQ_STREAM* stream = &reader.record.stream;
    EXPECT_EQ(0U, vrq_IO_Ctrl(stream, VRQ_IO_FLUSH, nullptr));
    EXPECT_EQ(0U, vrq_IO_Close(stream));
    EXPECT_EQ(0x40U, stream->flags & 0x40U);
    EXPECT_EQ(0U, vrq_IO_Close(stream));
}

struct Control {
    uint32_t code;
    uint32_t argument;
    uint32_t result;
    uint32_t position; // afterwards
};

// Runs the controls and looks at the position after each.
void expect_controls(VRQ_STREAM* stream, const std::vector<Control>& controls) {
    for (const Control& control : controls) {
        SCOPED_TRACE(control.code);
        uint32_t argument = control.argument;
        EXPECT_EQ(control.result, vrq_IO_Ctrl(stream, control.code, &argument));
        if (control.code == VRQ_IO_REWIND) {
            EXPECT_EQ(0U, stream->error);
        }
        uint32_t position = 99;
        EXPECT_EQ(0U, vrq_IO_Ctrl(stream, VRQ_IO_TELL, &position));
        EXPECT_EQ(control.position, position);
    }
    EXPECT_EQ(73U, vrq_IO_Ctrl(stream, VRQ_IO_TELL, nullptr));
}

TEST(BufStream, RecordsAndControls) {
    BufReader reader("abcde");
    VRQ_STREAM* stream = &reader.record.stream;
    EXPECT_EQ(0x181U, stream->flags);
    EXPECT_EQ(7U, reader.record.user);
    stream->error = 40;
    expect_controls(stream,
                    {{2, 0, 0, 0}, {4, 2, 0, 2}, {4, 2, 0, 4}, {4, 9, 0, 5}, {3, 0, 72, 5}});
    EXPECT_EQ(53U, vrq_IO_Read_Ch(stream));
    expect_controls(stream, {{2, 0, 0, 0}, {4, 0xFFFFFFFF, 0, 5}, {2, 0, 0, 0}, {4, 3, 0, 3}});
    const uint32_t* current = nullptr;
    EXPECT_EQ(0U, vrq_IO_Ctrl(stream, VRQ_IO_CURRENT, &current));
    EXPECT_EQ(reader.cells.data() + 3, current);
    EXPECT_EQ(73U, vrq_IO_Ctrl(stream, VRQ_IO_SKIP, nullptr));

    uint32_t cells[2];
    VRQ_BUF_STREAM writer;
    ASSERT_EQ(0U, vrq_IO_Open_Buf_Writer(&writer, cells, 2));
    EXPECT_EQ(0x182U, writer.stream.flags);
    expect_controls(&writer.stream, {{4, 1, 72, 0}, {16, 0, 72, 0}, {1, 0, 0, 0}});
    EXPECT_EQ(kFailed, vrq_IO_Read(&writer.stream, nullptr, 0));
    EXPECT_EQ(53U, vrq_IO_Read_Ch(&writer.stream));
    EXPECT_EQ(72U, writer.stream.error);

    EXPECT_EQ(73U, vrq_IO_Open_Buf_Reader(nullptr, cells, 2, 0));
    EXPECT_EQ(73U, vrq_IO_Open_Buf_Writer(&writer, nullptr, 2));
    EXPECT_EQ(kFailed, vrq_IO_Write_Ch(&writer.stream, 'x')) << "never opened";
    EXPECT_EQ(0U, vrq_IO_Close(&writer.stream));
    EXPECT_EQ(0U, vrq_IO_Open_Buf_Reader(&writer, nullptr, 0, 0));
    EXPECT_EQ(53U, vrq_IO_Read_Ch(&writer.stream));
}

TEST(BufStream, CharactersAreWholeCells) {
    std::vector<uint32_t> cells{0x12345678, 0xFFFFFFFF};
    VRQ_BUF_STREAM stream;
    vrq_IO_Open_Buf_Reader(&stream, cells.data(), 2, 0);
    EXPECT_EQ(0x12345678U, vrq_IO_Read_Ch(&stream.stream));

    vrq_IO_Open_Buf_Writer(&stream, cells.data(), 2);
    EXPECT_EQ(1U, vrq_IO_Write_Ch(&stream.stream, 0x80));
    EXPECT_EQ(1U, vrq_IO_Write_Ch(&stream.stream, 0xFF));
    EXPECT_EQ((std::vector<uint32_t>{0x80, 0xFF}), cells);
    EXPECT_EQ(0U, vrq_IO_Write_Ch(&stream.stream, 1));
    EXPECT_EQ(19U, stream.stream.error);
    EXPECT_EQ(0U, vrq_IO_Write(&stream.stream, bytes("x"), 1));
    EXPECT_EQ(19U, stream.stream.error);
}

// The address sanitizer sees that no piece leaves the cells.
TEST(BufStream, PiecesAreAdjacentBytesAndPassOverCells) {
    std::mt19937 random(4);
    for (int round = 0; round < 300; ++round) {
        const auto length = static_cast<uint32_t>(random() % 40);
        std::vector<uint32_t> cells(length, 0);
        VRQ_BUF_STREAM writer;
        VRQ_BUF_STREAM reader;
        vrq_IO_Open_Buf_Writer(&writer, cells.data(), length);
        vrq_IO_Open_Buf_Reader(&reader, cells.data(), length, 0);
        for (uint32_t position = 0; position < length;) {
            std::string piece(random() % 15, '\0');
            for (char& c : piece) c = static_cast<char>(random());
            const uint32_t expected = std::min(size_of(piece), length - position);
            ASSERT_EQ(expected, vrq_IO_Write(&writer.stream, bytes(piece), size_of(piece)));
            ASSERT_EQ(0, std::memcmp(&cells[position], piece.data(), expected));
            uint8_t out[15];
            ASSERT_EQ(expected, vrq_IO_Read(&reader.stream, out, size_of(piece)));
            ASSERT_EQ(0, std::memcmp(out, piece.data(), expected));
            position += expected;
            ASSERT_EQ(position, reader.position);
        }
    }
}

TEST(FileStream, WritesWithoutTruncating) {
    const TempFile file("0123456789");
    VRQ_FILE_STREAM stream;
    ASSERT_EQ(0U, vrq_IO_Open_File_Writer(&stream, file.path()));
    EXPECT_EQ(0x182U, stream.stream.flags);
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(stream.descriptor, F_GETFD));
    EXPECT_EQ(1U, vrq_IO_Write_Ch(&stream.stream, 'a'));
    EXPECT_EQ(2U, vrq_IO_Write(&stream.stream, bytes("bc"), 2));
    EXPECT_EQ(53U, vrq_IO_Read_Ch(&stream.stream));
    EXPECT_EQ(72U, stream.stream.error);
    expect_controls(&stream.stream, {{4, 1, 72, 3}, {16, 0, 72, 3}, {1, 0, 0, 3}, {2, 0, 0, 0}});
    EXPECT_EQ(1U, vrq_IO_Write_Ch(&stream.stream, 'A'));
    EXPECT_EQ(0U, vrq_IO_Close(&stream.stream));
    EXPECT_EQ("Abc3456789", file.text());

    file.remove();
    ASSERT_EQ(0U, vrq_IO_Open_File_Writer(&stream, file.path()));
    EXPECT_EQ(0U, vrq_IO_Close(&stream.stream));
    struct stat status;
    ASSERT_EQ(0, ::stat(file.path(), &status));
    EXPECT_EQ(0600U, status.st_mode & 0777U);
}

TEST(FileStream, SkipsAndTells) {
    FileReader reader("0123456789");
    VRQ_STREAM* stream = &reader.record.stream;
    EXPECT_EQ(0x181U, stream->flags);
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(reader.record.descriptor, F_GETFD));
    stream->error = 40;
    expect_controls(stream,
                    {{2, 0, 0, 0}, {4, 3, 0, 3}, {4, 3, 0, 6}, {16, 0, 72, 6}, {0, 0, 72, 6}});
    EXPECT_EQ('6', static_cast<int>(vrq_IO_Read_Ch(stream)));
    uint8_t out[10];
    EXPECT_EQ(3U, vrq_IO_Read(stream, out, 10)) << "fewer than asked for";
    EXPECT_EQ(0U, stream->error);
    EXPECT_EQ(0U, vrq_IO_Read(stream, out, 0));
    EXPECT_EQ(0U, stream->error) << "nothing was asked for";
    EXPECT_EQ(73U, vrq_IO_Ctrl(stream, VRQ_IO_SKIP, nullptr));

    uint32_t position = 0xFFFFFFFF;
    EXPECT_EQ(0U, vrq_IO_Ctrl(stream, VRQ_IO_SKIP, &position));
    position = 99;
    EXPECT_EQ(40U, vrq_IO_Ctrl(stream, VRQ_IO_TELL, &position)) << "beyond 32 bits";
    EXPECT_EQ(99U, position);
}

TEST(FileStream, PipesDoNotSeek) {
    const TempFile pipe = TempFile::fifo();
    VRQ_FILE_STREAM stream;
    ASSERT_EQ(0U, vrq_IO_Open_File_Reader(&stream, pipe.path()));
    uint32_t argument = 1;
    for (const uint32_t code : {VRQ_IO_REWIND, VRQ_IO_SKIP, VRQ_IO_TELL})
        EXPECT_EQ(72U, vrq_IO_Ctrl(&stream.stream, code, &argument));
    EXPECT_EQ(0U, vrq_IO_Close(&stream.stream));
}

TEST(FileStream, DescriptorClosedByOthers) {
    FileReader reader("abc");
    VRQ_STREAM* stream = &reader.record.stream;
    ::close(reader.record.descriptor);
    uint32_t argument = 1;
    uint8_t out[2];
    EXPECT_EQ(0U, vrq_IO_Read(stream, out, 1));
    EXPECT_EQ(40U, stream->error);
    stream->error = 0;
    EXPECT_EQ(kFailed, vrq_IO_Read_Ln(stream, out, 2));
    EXPECT_EQ(40U, stream->error);
    for (const uint32_t code : {VRQ_IO_REWIND, VRQ_IO_SKIP, VRQ_IO_TELL})
        EXPECT_EQ(40U, vrq_IO_Ctrl(stream, code, &argument));
    for (int twice = 0; twice < 2; ++twice) {
        EXPECT_EQ(7U, vrq_IO_Close(stream));
        EXPECT_EQ(0U, stream->flags & 0x40U);
    }
}

TEST(FileStream, NumberOfAClosedDescriptorIsForgotten) {
    FileReader reader("abc");
    const int number = reader.record.descriptor;
    ASSERT_EQ(0U, vrq_IO_Close(&reader.record.stream));
    const TempFile other("other");
    ASSERT_EQ(number, ::open(other.path(), O_RDONLY)) << "the lowest free number is reused";
    EXPECT_EQ(53U, vrq_IO_Read_Ch(&reader.record.stream));
    EXPECT_EQ(40U, reader.record.stream.error);
    EXPECT_EQ(7U, reader.record.stream.operations->close(&reader.record.stream));
    EXPECT_EQ(0, ::close(number)) << "still open";
}

TEST(FileStream, StandardDescriptorsStayOpen) {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        FileReader reader("abc");
        const int own = reader.record.descriptor;
        reader.record.descriptor = descriptor;
        EXPECT_EQ(0U, vrq_IO_Close(&reader.record.stream));
        EXPECT_NE(-1, ::fcntl(descriptor, F_GETFD));
        ::close(own);
    }
}

TEST(FileStream, OpeningFails) {
    const auto reader = vrq_IO_Open_File_Reader;
    const auto writer = vrq_IO_Open_File_Writer;
    const struct {
        decltype(reader) open;
        const char* path;
        uint32_t reason;
    } cases[] = {{reader, nullptr, 73},
                 {writer, nullptr, 8},
                 {reader, "/nonexistent/file", 8},
                 {writer, "/nonexistent/file", 8},
                 {writer, "/", 8}};
    for (const auto& c : cases) {
        VRQ_FILE_STREAM stream;
        EXPECT_EQ(c.reason, c.open(&stream, c.path));
        EXPECT_EQ(c.reason, stream.stream.error);
        EXPECT_EQ(53U, vrq_IO_Read_Ch(&stream.stream));
        EXPECT_EQ(0U, vrq_IO_Close(&stream.stream));
        EXPECT_EQ(73U, c.open(nullptr, "/"));
    }
    FileReader open("abc");
    EXPECT_EQ(73U, open.record.stream.operations->close(nullptr));
}

TEST(MemBufStream, ReaderSeesWhatTheWriterAppends) {
    MemBufReader empty("");
    VRQ_STREAM* reader = &empty.record.stream;
    VRQ_MEM_BUF_WRITER record;
    ASSERT_EQ(0U, vrq_IO_Open_Mem_Buf_Writer(&record, &empty.buf));
    EXPECT_EQ(0x81U, reader->flags);
    EXPECT_EQ(0x02U, record.stream.flags);
    EXPECT_EQ(53U, vrq_IO_Read_Ch(reader)) << "no chunk yet";

    std::mt19937 random(5);
    std::string unread;
    for (int step = 0; step < 500; ++step) {
        const std::string piece(random() % 10, static_cast<char>(random()));
        ASSERT_EQ(size_of(piece), vrq_IO_Write(&record.stream, bytes(piece), size_of(piece)));
        ASSERT_EQ(1U, vrq_IO_Write_Ch(&record.stream, static_cast<uint8_t>(step)));
        unread += piece + static_cast<char>(step);

        uint8_t out[16];
        const auto asked = static_cast<uint32_t>(random() % 16);
        const bool at_end = unread.empty();
        const uint32_t expected = std::min(asked, size_of(unread));
        ASSERT_EQ(expected, vrq_IO_Read(reader, out, asked));
        ASSERT_EQ(at_end ? 19U : 0U, reader->error);
        ASSERT_EQ(0, std::memcmp(out, unread.data(), expected));
        unread.erase(0, expected);
    }
    EXPECT_EQ(kFailed, vrq_IO_Read(&record.stream, nullptr, 0));
    empty.buf.size = 0xFFFFFFFF;
    EXPECT_EQ(kFailed, vrq_IO_Write_Ch(&record.stream, 1));
    EXPECT_EQ(60U, record.stream.error);
    for (VRQ_STREAM* stream : {reader, &record.stream}) {
        EXPECT_EQ(72U, vrq_IO_Ctrl(stream, VRQ_IO_REWIND, nullptr));
        EXPECT_EQ(0U, vrq_IO_Close(stream));
    }
}

TEST(NullStream, RefusesEverything) {
    constexpr VRQ_STREAM_OPERATIONS operations{vrq_IO_Null_Close, vrq_IO_Null_Write_Ch,
                                               vrq_IO_Null_Write, vrq_IO_Null_Read_Ch,
                                               vrq_IO_Null_Read,  vrq_IO_Null_Ctl};
    const auto refused = [&](auto call, uint32_t result) {
        VRQ_STREAM stream{&operations, 0, 0};
        EXPECT_EQ(result, call(&stream));
        EXPECT_EQ(72U, stream.error);
    };
    refused([](VRQ_STREAM* s) { return vrq_IO_Write_Ch(s, 1); }, kFailed);
    refused([](VRQ_STREAM* s) { return vrq_IO_Write(s, bytes("x"), 1); }, kFailed);
    refused([](VRQ_STREAM* s) { return vrq_IO_Read_Ch(s); }, 53);
    refused([](VRQ_STREAM* s) { return vrq_IO_Read(s, nullptr, 0); }, kFailed);
    uint8_t line[4];
    refused([&](VRQ_STREAM* s) { return vrq_IO_Read_Ln(s, line, 4); }, kFailed);

    VRQ_STREAM stream{&operations, 0, 0};
    for (const uint32_t code : {0U, 2U, 4U, 8U, 16U})
        EXPECT_EQ(72U, vrq_IO_Ctrl(&stream, code, nullptr));
    EXPECT_EQ(0U, vrq_IO_Close(&stream));
    EXPECT_EQ(0U, vrq_IO_Null_Close(nullptr));
    EXPECT_EQ(73U, vrq_IO_Null_Read_Ch(nullptr));
    EXPECT_EQ(73U, vrq_IO_Null_Read(nullptr, line, 4));
    EXPECT_EQ(73U, vrq_IO_Null_Write_Ch(nullptr, 1));
    EXPECT_EQ(73U, vrq_IO_Null_Write(nullptr, line, 4));
    EXPECT_EQ(0U, vrq_IO_Null_Ctl(nullptr, VRQ_IO_FLUSH, nullptr));
}

TEST(CloseOfAStream, FailedFlushOrCloseLeavesItOpen) {
    VRQ_STREAM_OPERATIONS operations{};
    operations.ctrl = [](VRQ_STREAM* s, uint32_t, void*) { return s->error == 1 ? 40U : 0U; };
    operations.close = [](VRQ_STREAM* s) { return s->error == 2 ? 7U : 0U; };
    VRQ_STREAM stream{&operations, 1, 0};
    EXPECT_EQ(40U, vrq_IO_Close(&stream));
    stream.error = 2;
    EXPECT_EQ(7U, vrq_IO_Close(&stream));
    EXPECT_EQ(0U, stream.flags);
    stream.error = 0;
    EXPECT_EQ(0U, vrq_IO_Close(&stream));
    EXPECT_EQ(0x40U, stream.flags);
}

TEST(LineOfAStream, OldErrorDoesNotEndIt) {
    VRQ_STREAM_OPERATIONS operations{};
    operations.read_ch = [](VRQ_STREAM*) { return uint32_t{'\n'}; }; // leaves the error alone
    VRQ_STREAM stream{&operations, 6, 0};
    uint8_t line[4];
    EXPECT_EQ(1U, vrq_IO_Read_Ln(&stream, line, 4));
}

TEST(StreamDeathTest, ProgrammingErrorsStopTheProcess) {
    const std::string no_stream = assertion("crypto_io.c", "stream != ((void *)0)");
    uint8_t out[4];
    EXPECT_DEATH(vrq_IO_Write_Ch(nullptr, 0), no_stream);
    EXPECT_DEATH(vrq_IO_Write(nullptr, out, 4), no_stream);
    EXPECT_DEATH(vrq_IO_Read_Ch(nullptr), no_stream);
    EXPECT_DEATH(vrq_IO_Read(nullptr, out, 4), no_stream);
    EXPECT_DEATH(vrq_IO_Read_Ln(nullptr, out, 4), no_stream);
    EXPECT_DEATH(vrq_IO_Ctrl(nullptr, 1, nullptr), no_stream);
    EXPECT_DEATH(vrq_IO_Close(nullptr), no_stream);

    BufReader buf("abc");
    FileReader file("abc");
    MemBufReader mem("abc");
    EXPECT_DEATH(vrq_IO_Read_Ln(&buf.record.stream, nullptr, 1),
                 assertion("crypto_io.c", "buf != ((void *)0)"));
    EXPECT_DEATH(vrq_IO_Ctrl(&buf.record.stream, VRQ_IO_CURRENT, nullptr),
                 assertion("buf_io.c", "ptr != ((void *)0)"));
    const std::string no_destination = "buf != ((void *)0) || length == 0";
    EXPECT_DEATH(vrq_IO_Read(&buf.record.stream, nullptr, 1),
                 assertion("buf_io.c", no_destination));
    EXPECT_DEATH(vrq_IO_Read(&file.record.stream, nullptr, 1),
                 assertion("file_io.c", no_destination));
    EXPECT_DEATH(vrq_IO_Read(&mem.record.stream, nullptr, 1),
                 assertion("membuf_io.c", no_destination));
    VRQ_BUF_STREAM writer;
    vrq_IO_Open_Buf_Writer(&writer, nullptr, 0);
    EXPECT_EQ(0U, vrq_IO_Write(&writer.stream, nullptr, 0));
    EXPECT_DEATH(vrq_IO_Write(&writer.stream, nullptr, 1),
                 assertion("buf_io.c", "length == 0 || buf != ((void *)0)"));

    EXPECT_DEATH(vrq_IO_Open_Mem_Buf_Reader(nullptr, &mem.buf),
                 assertion("membuf_io.c", "reader != ((void *)0)"));
    EXPECT_DEATH(vrq_IO_Open_Mem_Buf_Writer(nullptr, &mem.buf),
                 assertion("membuf_io.c", "writer != ((void *)0)"));
    EXPECT_DEATH(vrq_IO_Open_Mem_Buf_Reader(&mem.record, nullptr),
                 assertion("membuf_io.c", "membuf != ((void *)0)"));
    mem.record.chunkOffset = 4;
    EXPECT_DEATH(vrq_IO_Read_Ch(&mem.record.stream),
                 assertion("membuf_io.c", "reader->chunkOffset < reader->chunk->used"));
    mem.buf.first = mem.buf.last = nullptr;
    mem.record.chunk = nullptr;
    EXPECT_DEATH(vrq_IO_Read_Ch(&mem.record.stream),
                 assertion("membuf_io.c", "reader->chunk != ((void *)0)"));
}

} // namespace
