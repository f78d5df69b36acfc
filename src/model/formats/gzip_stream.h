// Stream buffers on zlib's gzip file interface, for reading and writing *.pnml.gz.
#pragma once

#include <cstdio>
#include <streambuf>
#include <string>

#include <zlib.h>

namespace nurex {

// Reads the decompressed bytes of a gzip file, member after member. Unlike zlib's gzread
// it refuses what is not wholly gzip data: a plain file, a member cut short (a missing
// trailer included), a damaged member, and bytes after the last member. The stream then
// ends and `failed()` tells why.
class GzipInputBuffer : public std::streambuf {
 public:
  explicit GzipInputBuffer(const std::string& fileName);
  ~GzipInputBuffer() override;
  GzipInputBuffer(const GzipInputBuffer&) = delete;
  GzipInputBuffer& operator=(const GzipInputBuffer&) = delete;

  bool isOpen() const { return file_ != nullptr; }
  // After the end of the stream: whether the data ended in a fault, and the text for it.
  bool failed() const { return !error_.empty(); }
  const std::string& error() const { return error_; }

 protected:
  int_type underflow() override;

 private:
  bool fill();        // more compressed bytes; false at the end of the file
  bool nextMember();  // after a member: another one follows (true), or the data ends
  void fail(const std::string& why);

  FILE* file_ = nullptr;
  z_stream stream_{};
  bool inflating_ = false;  // inside a member
  bool finished_ = false;
  std::string error_;
  unsigned char input_[1 << 16];
  char buffer_[1 << 16];
};

// Compresses what is written into a gzip file; `close()` reports whether all of it arrived.
class GzipOutputBuffer : public std::streambuf {
 public:
  explicit GzipOutputBuffer(const std::string& fileName);
  ~GzipOutputBuffer() override;
  GzipOutputBuffer(const GzipOutputBuffer&) = delete;
  GzipOutputBuffer& operator=(const GzipOutputBuffer&) = delete;

  bool isOpen() const { return file_ != nullptr; }
  bool close();

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* data, std::streamsize count) override;
  int sync() override;

 private:
  bool flushBuffer();
  gzFile file_ = nullptr;
  bool failed_ = false;
  char buffer_[1 << 16];
};

}  // namespace nurex
