// kyOSMemoryIOStream.cpp - kyOS::MemoryIOStream.
#include <Base/OS/kyOSMemoryIOStream.h>

#include <Base/OS/kyOSFile.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace kyOS {

MemoryIOStream::Block::Block(std::size_t capacity)
    : used(0), data_(new char[capacity]), capacity_(capacity) {}

MemoryIOStream::Block::~Block() {
    delete[] data_;
}

MemoryIOStream::MemoryIOStream(std::size_t blockSize)
    : blockSize_(blockSize == 0 ? 1 : blockSize), size_(0), position_(0) {}

MemoryIOStream::MemoryIOStream(const MemoryIOStream& other)
    : IOStream(), blocks_(other.blocks_), blockSize_(other.blockSize_), size_(other.size_),
      position_(other.position_) {}

MemoryIOStream& MemoryIOStream::operator=(const MemoryIOStream& other) {
    if (this != &other) {
        blocks_ = other.blocks_;
        blockSize_ = other.blockSize_;
        size_ = other.size_;
        position_ = other.position_;
    }
    return *this;
}

MemoryIOStream::~MemoryIOStream() = default;

void MemoryIOStream::clear() {
    blocks_.clear();
    size_ = 0;
    position_ = 0;
}

bool MemoryIOStream::seek(std::size_t position) {
    if (position > size_) {
        return false;
    }
    position_ = position;
    return true;
}

std::size_t MemoryIOStream::copyOut(std::size_t offset, void* out, std::size_t size) const {
    if (offset >= size_) {
        return 0;
    }
    size = std::min(size, size_ - offset);
    // Every block but the last is full, so the block of an offset is a division away.
    std::size_t index = offset / blockSize_;
    std::size_t within = offset % blockSize_;
    char* to = static_cast<char*>(out);
    std::size_t done = 0;
    while (done < size) {
        const Block& b = *blocks_[static_cast<unsigned int>(index)];
        const std::size_t n = std::min(size - done, b.used - within);
        std::memcpy(to + done, b.data() + within, n);
        done += n;
        ++index;
        within = 0;
    }
    return done;
}

kyUtil::Error MemoryIOStream::read(void* buffer, std::size_t size, std::size_t* count) {
    if (count != nullptr) {
        *count = 0;
    }
    if (size == 0) {
        return kyUtil::Error();
    }
    if (buffer == nullptr) {
        return File::getError(kFileErrIO);
    }
    if (position_ >= size_) {
        return File::getError(kFileErrEndOfFile);
    }
    const std::size_t got = copyOut(position_, buffer, size);
    position_ += got;
    if (count != nullptr) {
        *count = got;
    }
    return kyUtil::Error();
}

kyUtil::Error MemoryIOStream::write(const void* buffer, std::size_t size, std::size_t* count) {
    if (count != nullptr) {
        *count = 0;
    }
    if (buffer == nullptr && size > 0) {
        return File::getError(kFileErrIO);
    }
    const char* from = static_cast<const char*>(buffer);
    std::size_t done = 0;
    try {
        while (done < size) {
            if (blocks_.empty() || blocks_.back()->used == blocks_.back()->capacity()) {
                blocks_.push_back(ky::Reference<Block>(new Block(blockSize_)));
            } else if (blocks_.back()->count() > 1) {
                // Another stream still reads this block: append to a copy of our own.
                const Block& shared = *blocks_.back();
                ky::Reference<Block> own(new Block(blockSize_));
                std::memcpy(own->data(), shared.data(), shared.used);
                own->used = shared.used;
                blocks_.back() = own;
            }
            Block& b = *blocks_.back();
            const std::size_t n = std::min(size - done, b.capacity() - b.used);
            std::memcpy(b.data() + b.used, from + done, n);
            b.used += n;
            done += n;
            size_ += n;
        }
    } catch (const std::bad_alloc&) {
        if (count != nullptr) {
            *count = done;
        }
        return File::getError(kFileErrIO);
    }
    if (count != nullptr) {
        *count = done;
    }
    return kyUtil::Error();
}

} // namespace kyOS
