// gzip stream buffers over zlib.
#include "model/formats/gzip_stream.h"

#include <climits>
#include <cstring>

namespace nurex {

GzipInputBuffer::GzipInputBuffer(const std::string& fileName) {
  file_ = std::fopen(fileName.c_str(), "rb");
  setg(buffer_, buffer_, buffer_);
}

GzipInputBuffer::~GzipInputBuffer() {
  if (inflating_) inflateEnd(&stream_);
  if (file_) std::fclose(file_);
}

void GzipInputBuffer::fail(const std::string& why) {
  error_ = why;
  finished_ = true;
}

bool GzipInputBuffer::fill() {
  size_t got = std::fread(input_, 1, sizeof input_, file_);
  if (got == 0 && std::ferror(file_)) fail("read error");
  stream_.next_in = input_;
  stream_.avail_in = static_cast<uInt>(got);
  return got > 0;
}

// A member starts with the two magic bytes; anything else after the first member is
// trailing data, and as the first thing it is not gzip data at all.
bool GzipInputBuffer::nextMember() {
  bool first = !inflating_;
  if (stream_.avail_in == 0 && !fill()) {
    if (first && !failed()) fail("not in the gzip format");
    return false;
  }
  if (stream_.avail_in < 2 && stream_.next_in != input_) {
    // Keep a lone first byte while the second one is read.
    input_[0] = stream_.next_in[0];
    size_t got = std::fread(input_ + 1, 1, sizeof input_ - 1, file_);
    stream_.next_in = input_;
    stream_.avail_in = static_cast<uInt>(1 + got);
  }
  if (stream_.avail_in < 2 || stream_.next_in[0] != 0x1f || stream_.next_in[1] != 0x8b) {
    fail(first ? "not in the gzip format" : "trailing data after the gzip stream");
    return false;
  }
  int code = first ? inflateInit2(&stream_, 16 + MAX_WBITS) : inflateReset(&stream_);
  if (code != Z_OK) {
    fail("cannot start decompression");
    return false;
  }
  inflating_ = true;
  return true;
}

GzipInputBuffer::int_type GzipInputBuffer::underflow() {
  if (!file_ || finished_) return traits_type::eof();
  if (!inflating_ && !nextMember()) return traits_type::eof();
  while (true) {
    if (stream_.avail_in == 0 && !fill()) {
      if (!failed()) fail("unexpected end of file");
      return traits_type::eof();
    }
    stream_.next_out = reinterpret_cast<Bytef*>(buffer_);
    stream_.avail_out = sizeof buffer_;
    int code = inflate(&stream_, Z_NO_FLUSH);
    size_t produced = sizeof buffer_ - stream_.avail_out;
    if (code == Z_STREAM_END) {
      if (!nextMember()) finished_ = true;
    } else if (code != Z_OK && code != Z_BUF_ERROR) {
      fail(stream_.msg ? stream_.msg : "damaged data");
      return traits_type::eof();
    }
    if (produced > 0) {
      setg(buffer_, buffer_, buffer_ + produced);
      return traits_type::to_int_type(buffer_[0]);
    }
    if (finished_) return traits_type::eof();
  }
}

GzipOutputBuffer::GzipOutputBuffer(const std::string& fileName) {
  file_ = gzopen(fileName.c_str(), "wb");
  setp(buffer_, buffer_ + sizeof buffer_);
}

GzipOutputBuffer::~GzipOutputBuffer() { close(); }

bool GzipOutputBuffer::flushBuffer() {
  int pending = static_cast<int>(pptr() - pbase());
  if (pending > 0 && (!file_ || gzwrite(file_, pbase(), pending) != pending)) failed_ = true;
  setp(buffer_, buffer_ + sizeof buffer_);
  return !failed_;
}

GzipOutputBuffer::int_type GzipOutputBuffer::overflow(int_type c) {
  if (!flushBuffer()) return traits_type::eof();
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

std::streamsize GzipOutputBuffer::xsputn(const char* data, std::streamsize count) {
  std::streamsize done = 0;
  while (done < count) {
    std::streamsize room = epptr() - pptr();
    if (room == 0) {
      if (!flushBuffer()) return done;
      continue;
    }
    std::streamsize part = std::min(room, count - done);
    std::memcpy(pptr(), data + done, static_cast<size_t>(part));
    pbump(static_cast<int>(part));
    done += part;
  }
  return done;
}

int GzipOutputBuffer::sync() { return flushBuffer() ? 0 : -1; }

bool GzipOutputBuffer::close() {
  if (!file_) return false;
  flushBuffer();
  if (gzclose(file_) != Z_OK) failed_ = true;
  file_ = nullptr;
  return !failed_;
}

}  // namespace nurex
