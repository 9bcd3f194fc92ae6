#include "raster/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "support/paths.h"
#include "support/text.h"
#include "support/work.h"

namespace vellandra {

const ImageType* imageTypeOf(const std::string& path) {
  const std::string ending = upperCase(extensionAsGiven(path));
  const auto type = std::ranges::find(imageTypes, ending, &ImageType::ending);
  return type == imageTypes.end() ? nullptr : type;
}

ImageFile::ImageFile(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  size_ = status.st_size;
}

ImageFile::~ImageFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::span<const unsigned char> ImageFile::window(std::int64_t position) {
  constexpr std::size_t windowSize = std::size_t{64} * 1024;
  const auto end = windowStart_ + static_cast<std::int64_t>(window_.size());
  if (position < 0 || position >= size_) return {};
  if (position < windowStart_ || position >= end) {
    window_.resize(windowSize);
    const ssize_t count = ::pread(descriptor_, window_.data(), windowSize, position);
    window_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    windowStart_ = position;
  }
  return std::span<const unsigned char>(window_).subspan(static_cast<std::size_t>(position - windowStart_));
}

std::size_t ImageFile::read(std::int64_t position, void* buffer, std::size_t length) {
  auto* bytes = static_cast<unsigned char*>(buffer);
  std::size_t done = 0;
  while (done < length) {
    const auto part = window(position + static_cast<std::int64_t>(done));
    if (part.empty()) break;
    const std::size_t count = std::min(part.size(), length - done);
    std::memcpy(bytes + done, part.data(), count);
    done += count;
  }
  return done;
}

bool ImageFile::fill(std::int64_t position, std::span<unsigned char> bytes) {
  return read(position, bytes.data(), bytes.size()) == bytes.size();
}

int ImageFile::byteAt(std::int64_t position) {
  const auto part = window(position);
  return part.empty() ? -1 : part.front();
}

std::int64_t ImageFile::find(unsigned char value, std::int64_t position) {
  for (auto part = window(position); !part.empty(); part = window(position)) {
    endIfCancelled();
    const void* found = std::memchr(part.data(), value, part.size());
    if (found != nullptr) return position + (static_cast<const unsigned char*>(found) - part.data());
    position += static_cast<std::int64_t>(part.size());
  }
  return size_;
}

void ImageParts::add(Part part) {
  part.start = length_;
  length_ += part.length;
  if (part.length > 0) parts_.push_back(std::move(part));
}

void ImageParts::add(std::int64_t position, std::int64_t length) {
  const bool adjoins =
      !parts_.empty() && parts_.back().bytes.empty() && parts_.back().position + parts_.back().length == position;
  if (!adjoins) return add(Part{0, position, length, {}});
  parts_.back().length += length;
  length_ += length;
}

void ImageParts::add(std::string bytes) {
  const auto length = static_cast<std::int64_t>(bytes.size());
  add(Part{0, 0, length, std::move(bytes)});
}

std::size_t ImageParts::read(void* buffer, std::size_t length) {
  auto* const bytes = static_cast<unsigned char*>(buffer);
  std::size_t done = 0;
  auto part = std::ranges::upper_bound(parts_, position_, {}, &Part::start);
  if (part != parts_.begin()) --part;
  for (; part != parts_.end() && done < length; ++part) {
    const std::int64_t inside = position_ - part->start;
    if (inside >= part->length) break;  // behind the end
    const std::size_t wanted = std::min(length - done, static_cast<std::size_t>(part->length - inside));
    std::size_t count = wanted;
    if (part->bytes.empty()) {
      count = file_->read(part->position + inside, bytes + done, wanted);
    } else {
      std::memcpy(bytes + done, part->bytes.data() + inside, wanted);
    }
    done += count;
    position_ += static_cast<std::int64_t>(count);
    if (count < wanted) break;
  }
  return done;
}

bool ImageParts::seek(std::int64_t offset, int origin) {
  const std::int64_t from = origin == SEEK_CUR ? position_ : origin == SEEK_END ? length_ : 0;
  if (from + offset < 0) return false;
  position_ = from + offset;
  return true;
}

}  // namespace vellandra
