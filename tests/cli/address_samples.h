// IPv4 addresses and masks around every boundary of the rules for them.
#pragma once

#include <array>
#include <cstdint>

namespace kvel::cli::test {

inline constexpr std::array<std::uint32_t, 8> kHostAddresses = {
    0x01000000,  // 1.0.0.0
    0x0a010101,  // 10.1.1.1
    0x0affffff,  // 10.255.255.255
    0x7effffff,  // 126.255.255.255
    0x80000000,  // 128.0.0.0
    0xc0a80000,  // 192.168.0.0
    0xdffffffe,  // 223.255.255.254
    0xdfffffff,  // 223.255.255.255
};

inline constexpr std::array<std::uint32_t, 13> kNoHostAddresses = {
    0x00000001,  // 0.0.0.1
    0x00000100,  // 0.0.1.0
    0x00ffffff,  // 0.255.255.255
    0x7f000000,  // 127.0.0.0
    0x7f000001,  // 127.0.0.1
    0x7fffffff,  // 127.255.255.255
    0xe0000000,  // 224.0.0.0
    0xe0000001,  // 224.0.0.1
    0xefffffff,  // 239.255.255.255
    0xf0000000,  // 240.0.0.0
    0xf0000001,  // 240.0.0.1
    0xfffffffe,  // 255.255.255.254
    0xffffffff,  // 255.255.255.255
};

inline constexpr std::array<std::uint32_t, 32> kMasks = {
    0x80000000, 0xc0000000, 0xe0000000, 0xf0000000, 0xf8000000, 0xfc000000, 0xfe000000, 0xff000000,
    0xff800000, 0xffc00000, 0xffe00000, 0xfff00000, 0xfff80000, 0xfffc0000, 0xfffe0000, 0xffff0000,
    0xffff8000, 0xffffc000, 0xffffe000, 0xfffff000, 0xfffff800, 0xfffffc00, 0xfffffe00, 0xffffff00,
    0xffffff80, 0xffffffc0, 0xffffffe0, 0xfffffff0, 0xfffffff8, 0xfffffffc, 0xfffffffe, 0xffffffff,
};

inline constexpr std::array<std::uint32_t, 17> kNoMasks = {
    0x00000001,  // 0.0.0.1
    0x00000002,  // 0.0.0.2
    0x000000ff,  // 0.0.0.255
    0x0000ff00,  // 0.0.255.0
    0x00ffffff,  // 0.255.255.255
    0x40000000,  // 64.0.0.0
    0x7fffffff,  // 127.255.255.255
    0x7ffffffe,  // 127.255.255.254
    0x80000001,  // 128.0.0.1
    0xa0000000,  // 160.0.0.0
    0xbfffffff,  // 191.255.255.255
    0xff00ff00,  // 255.0.255.0
    0xff00ffff,  // 255.0.255.255
    0xffff00ff,  // 255.255.0.255
    0xfffff0ff,  // 255.255.240.255
    0xfffffffb,  // 255.255.255.251
    0xfffffffd,  // 255.255.255.253
};

}  // namespace kvel::cli::test
