// The per-thread cache of the framework's coroutine frames.

#include "tavreldi/core/PooledFrame.hpp"

#include <array>
#include <new>

// Under AddressSanitizer a cached frame is poisoned (all but its link), so that a use of a
// frame after its coroutine ended is reported as it would be with the allocator's frames.
#if defined(__SANITIZE_ADDRESS__)
#define TAVRELDI_FRAME_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAVRELDI_FRAME_ASAN 1
#endif
#endif
#ifdef TAVRELDI_FRAME_ASAN
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

namespace tavreldi::detail {
namespace {

// Frames are kept in size classes 128 bytes apart, up to 4 KB (a resolution's frame holds its
// record, under a kilobyte; an auto-wired factory's grows with its dependency count). At most
// 64 KB of frames stay cached per thread, enough for a chain of resolutions dozens of levels
// deep; past that, frames go back to the allocator.
constexpr std::size_t kGrain = 128;
constexpr std::size_t kClasses = 32;
constexpr std::size_t kKeptBytes = 64 * 1024;

constexpr std::size_t sizeClass(std::size_t size) noexcept { return (size - 1) / kGrain; }
// The bytes of a frame of class `c`, what the allocator is asked for.
constexpr std::size_t classBytes(std::size_t c) noexcept { return (c + 1) * kGrain; }

struct FreeFrame {
  FreeFrame* next;
};

struct ThreadFrames {
  std::array<FreeFrame*, kClasses> free{};
  std::size_t keptBytes = 0;
  // Set once the thread's cache is gone: frames freed later in the thread's exit go straight
  // back to the allocator.
  bool closed = false;

  ~ThreadFrames() {
    closed = true;
    for (std::size_t c = 0; c < kClasses; ++c) {
      while (FreeFrame* frame = free[c]) {
        free[c] = frame->next;
        ASAN_UNPOISON_MEMORY_REGION(frame, classBytes(c));
        ::operator delete(frame);
      }
    }
  }
};
thread_local ThreadFrames threadFrames __attribute__((tls_model("initial-exec")));

}  // namespace

void* allocateFrame(std::size_t size) {
  const std::size_t c = sizeClass(size);
  if (c >= kClasses) return ::operator new(size);
  ThreadFrames& frames = threadFrames;
  if (FreeFrame* frame = frames.free[c]) {  // (empty once the thread's cache is gone)
    frames.free[c] = frame->next;
    frames.keptBytes -= classBytes(c);
    ASAN_UNPOISON_MEMORY_REGION(frame, classBytes(c));
    return frame;
  }
  return ::operator new(classBytes(c));
}

void freeFrame(void* frame, std::size_t size) noexcept {
  const std::size_t c = sizeClass(size);
  if (c >= kClasses) {
    ::operator delete(frame);
    return;
  }
  ThreadFrames& frames = threadFrames;
  if (frames.closed || frames.keptBytes + classBytes(c) > kKeptBytes) {
    ::operator delete(frame);
    return;
  }
  frames.free[c] = ::new (frame) FreeFrame{frames.free[c]};
  frames.keptBytes += classBytes(c);
  ASAN_POISON_MEMORY_REGION(static_cast<char*>(frame) + sizeof(FreeFrame),
                            classBytes(c) - sizeof(FreeFrame));
}

}  // namespace tavreldi::detail
