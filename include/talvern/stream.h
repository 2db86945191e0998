/* Talvern: streams over buffers, files and chunked buffers.
 *
 * A stream is a record that starts with VRQ_STREAM. The caller owns the record, an opener fills it,
 * and the vrq_IO_ calls work through its table of operations. Transfers return counts or characters
 * and put a bare reason (talvern/status.h, no library or function byte) into the error field; the
 * other calls return such a reason, 0 for success. A failure leaves the stream usable.
 *
 * Programming errors (a null stream, a null buffer with a length) stop the process as a failed
 * assertion does, in every build type.
 */
#ifndef TALVERN_STREAM_H
#define TALVERN_STREAM_H

#include "talvern/base.h"
#include "talvern/memory.h"

VRQ_BEGIN_C

/* Flags of a stream. */
enum {
    VRQ_IO_READABLE = 0x01,
    VRQ_IO_WRITABLE = 0x02,
    VRQ_IO_CLOSED = 0x40,
    VRQ_IO_POSITIONED = 0x80, /* the kind keeps a position */
    VRQ_IO_SEEKABLE = 0x100   /* rewind and tell work on it */
};

/* Control codes of vrq_IO_Ctrl. */
enum {
    VRQ_IO_FLUSH = 1,   /* every kind; the argument is not used */
    VRQ_IO_REWIND = 2,  /* buffers and files; the argument is not used; clears the error */
    VRQ_IO_SKIP = 4,    /* readers of buffers and files; const uint32_t*: characters to skip */
    VRQ_IO_TELL = 8,    /* buffers and files; uint32_t*: gets the position */
    VRQ_IO_CURRENT = 16 /* buffer reader; const uint32_t**: gets the pointer to the current cell */
};

struct VRQ_STREAM;

/* What makes a kind of stream. */
typedef struct VRQ_STREAM_OPERATIONS {
    uint32_t (*close)(struct VRQ_STREAM* stream);
    uint32_t (*write_ch)(struct VRQ_STREAM* stream, uint8_t byte);
    uint32_t (*write)(struct VRQ_STREAM* stream, const uint8_t* buf, uint32_t length);
    uint32_t (*read_ch)(struct VRQ_STREAM* stream);
    uint32_t (*read)(struct VRQ_STREAM* stream, uint8_t* buf, uint32_t length);
    uint32_t (*ctrl)(struct VRQ_STREAM* stream, uint32_t code, void* ptr);
} VRQ_STREAM_OPERATIONS;

/* The head of every stream. */
typedef struct VRQ_STREAM {
    const VRQ_STREAM_OPERATIONS* operations;
    uint32_t error; /* reason of the last failure, VRQ_ERR_END_OF_STREAM at the end, else 0 */
    uint32_t flags; /* VRQ_IO_ flags */
} VRQ_STREAM;

/* Reader or writer of a buffer of 32-bit cells. */
typedef struct VRQ_BUF_STREAM {
    VRQ_STREAM stream;
    uint32_t length;   /* cells of the buffer */
    uint32_t* start;   /* the buffer; a reader never writes to it */
    uint32_t position; /* characters read or written */
    uint32_t* current; /* start + position */
    uint32_t user;     /* the caller's own value */
} VRQ_BUF_STREAM;

/* Reader or writer of a file. */
typedef struct VRQ_FILE_STREAM {
    VRQ_STREAM stream;
    int32_t descriptor; /* -1 once it is closed */
} VRQ_FILE_STREAM;

typedef struct VRQ_MEM_BUF_READER {
    VRQ_STREAM stream;
    const VRQ_MEM_BUF* membuf;
    const VRQ_MEM_CHUNK* chunk; /* current chunk, null before the first one */
    uint32_t chunkOffset;       /* bytes of it that have been read */
} VRQ_MEM_BUF_READER;

typedef struct VRQ_MEM_BUF_WRITER {
    VRQ_STREAM stream;
    VRQ_MEM_BUF* membuf;
} VRQ_MEM_BUF_WRITER;

/* Open a stream over a buffer.
 *   buffer  length cells of 32 bits, one character each; may be null when length is 0
 *   length  characters that it holds
 *   user    kept in the record
 * Character calls use a whole cell. Callers rely on what vrq_IO_Read and vrq_IO_Write do instead:
 * n characters are n adjacent bytes at the current cell, and n cells are passed over. So text
 * written with vrq_IO_Write is read with vrq_IO_Read in pieces of the same lengths, and neither
 * call is mixed with the character calls.
 * Return 0, or VRQ_ERR_NULL_INPUT (null stream, null buffer with a length). */
VRQ_API uint32_t vrq_IO_Open_Buf_Reader(VRQ_BUF_STREAM* stream, const uint32_t* buffer,
                                        uint32_t length, uint32_t user);
VRQ_API uint32_t vrq_IO_Open_Buf_Writer(VRQ_BUF_STREAM* stream, uint32_t* buffer, uint32_t length);

/* Open a stream over a file, to be closed with vrq_IO_Close. The descriptor is close-on-exec. The
 * writer starts at the front of the file, does not truncate it, and creates a missing one with mode
 * 0600.
 * Return 0 or
 *   VRQ_ERR_NULL_INPUT          null stream, or null path of a reader
 *   VRQ_ERR_CANNOT_OPEN_STREAM  the platform refused, or null path of a writer
 * A stream whose opening failed counts as closed and refuses transfers. */
VRQ_API uint32_t vrq_IO_Open_File_Reader(VRQ_FILE_STREAM* stream, const char* path);
VRQ_API uint32_t vrq_IO_Open_File_Writer(VRQ_FILE_STREAM* stream, const char* path);

/* Open a stream that reads from or appends to a chunked buffer, which it does not own. Bytes
 * appended while a reader is open are read too. A null argument stops the process. Return 0. */
VRQ_API uint32_t vrq_IO_Open_Mem_Buf_Reader(VRQ_MEM_BUF_READER* reader, const VRQ_MEM_BUF* membuf);
VRQ_API uint32_t vrq_IO_Open_Mem_Buf_Writer(VRQ_MEM_BUF_WRITER* writer, VRQ_MEM_BUF* membuf);

/* Writes one character. Returns 1; 0 at the end of a buffer; 0xFFFFFFFF for another failure. */
VRQ_API uint32_t vrq_IO_Write_Ch(VRQ_STREAM* stream, uint8_t byte);

/* Writes up to length bytes. Returns the count written, 0 at the end of a buffer, 0xFFFFFFFF for
 * another failure. A file may take fewer bytes than given. */
VRQ_API uint32_t vrq_IO_Write(VRQ_STREAM* stream, const uint8_t* buf, uint32_t length);

/* Returns one character; of a buffer stream the whole cell. At the end and for a failure it is
 * VRQ_ERR_IO_EOF, which is also a character: the error field tells. */
VRQ_API uint32_t vrq_IO_Read_Ch(VRQ_STREAM* stream);

/* Reads up to length bytes. Returns the count read; 0 at the end and when a file cannot be read;
 * 0xFFFFFFFF from a stream that is not readable. */
VRQ_API uint32_t vrq_IO_Read(VRQ_STREAM* stream, uint8_t* buf, uint32_t length);

/* Reads a line, its newline included, or what is left of the data.
 *   buf   size bytes, must not be null; zeroed first, so the text is terminated
 *   size  2 or more
 * Returns the characters stored, or 0xFFFFFFFF with the error field
 *   VRQ_ERR_BUF_TOO_SMALL  no newline among the first size - 1 characters, which are stored; or
 *                          size below 2
 *   VRQ_ERR_END_OF_STREAM  nothing left
 *   otherwise              the failure of the read */
VRQ_API uint32_t vrq_IO_Read_Ln(VRQ_STREAM* stream, uint8_t* buf, uint32_t size);

/* Controls a stream.
 *   code  one VRQ_IO_ control code
 *   ptr   its argument
 * Returns 0 or
 *   VRQ_ERR_NOT_SUPPORTED  the kind does not know the code, or the file is not seekable
 *   VRQ_ERR_NULL_INPUT     null argument of skip or tell (of current it stops the process)
 *   VRQ_ERR_INTERNAL       the platform refused, or the position exceeds 32 bits */
VRQ_API uint32_t vrq_IO_Ctrl(VRQ_STREAM* stream, uint32_t code, void* ptr);

/* Flushes and closes a stream; on a closed one it does nothing. Descriptors 0, 1 and 2 are left
 * open.
 * Returns 0, or the reason why flush or close failed (VRQ_ERR_CANNOT_CLOSE_STREAM); the stream then
 * does not count as closed. */
VRQ_API uint32_t vrq_IO_Close(VRQ_STREAM* stream);

/* The operations of the null stream, which refuses every transfer: for tables of the caller's own.
 * Write_Ch, Write and Read put VRQ_ERR_NOT_SUPPORTED into the error field and return 0xFFFFFFFF,
 * Read_Ch returns VRQ_ERR_IO_EOF; all four return VRQ_ERR_NULL_INPUT for a null stream. Close
 * returns 0. Ctl returns 0 for VRQ_IO_FLUSH, else VRQ_ERR_NOT_SUPPORTED. */
VRQ_API uint32_t vrq_IO_Null_Close(VRQ_STREAM* stream);
VRQ_API uint32_t vrq_IO_Null_Write_Ch(VRQ_STREAM* stream, uint8_t byte);
VRQ_API uint32_t vrq_IO_Null_Write(VRQ_STREAM* stream, const uint8_t* buf, uint32_t length);
VRQ_API uint32_t vrq_IO_Null_Read_Ch(VRQ_STREAM* stream);
VRQ_API uint32_t vrq_IO_Null_Read(VRQ_STREAM* stream, uint8_t* buf, uint32_t length);
VRQ_API uint32_t vrq_IO_Null_Ctl(VRQ_STREAM* stream, uint32_t code, void* ptr);

VRQ_END_C

#endif /* TALVERN_STREAM_H */
