// gzip stream buffers over zlib.
#include "model/formats/gzip_stream.h"

#include <climits>
#include <cstring>

namespace nurex {

GzipInputBuffer::GzipInputBuffer(const std::string& fileName) {
  file_ = gzopen(fileName.c_str(), "rb");
  setg(buffer_, buffer_, buffer_);
}

GzipInputBuffer::~GzipInputBuffer() {
  if (file_) gzclose(file_);
}

GzipInputBuffer::int_type GzipInputBuffer::underflow() {
  if (!file_ || failed()) return traits_type::eof();
  int got = gzread(file_, buffer_, sizeof buffer_);
  if (got < 0) {
    int code;
    const char* text = gzerror(file_, &code);
    error_ = text && *text ? text : "read error";
    return traits_type::eof();
  }
  // zlib passes a file through unchanged when it is not gzip data.
  if (gzdirect(file_)) {
    error_ = "not in the gzip format";
    return traits_type::eof();
  }
  if (got == 0) return traits_type::eof();
  setg(buffer_, buffer_, buffer_ + got);
  return traits_type::to_int_type(buffer_[0]);
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
