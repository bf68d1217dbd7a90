#include "tavreldi/core/PooledFrame.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace tavreldi::detail {
namespace {

TEST(PooledFrame, AFrameGivenBackIsReusedForItsSizeClassOnItsThreadOnly) {
  void* frame = allocateFrame(300);
  freeFrame(frame, 300);
  void* elsewhere = nullptr;  // another thread's cache does not hold it
  std::thread([&elsewhere] {
    elsewhere = allocateFrame(300);
    freeFrame(elsewhere, 300);
  }).join();
  EXPECT_NE(elsewhere, frame);
  void* smaller = allocateFrame(200);  // another size class
  EXPECT_NE(smaller, frame);
  void* again = allocateFrame(257);
  EXPECT_EQ(again, frame);
  freeFrame(again, 257);
  freeFrame(smaller, 200);
}

}  // namespace
}  // namespace tavreldi::detail
