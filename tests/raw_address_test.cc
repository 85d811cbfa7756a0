#include "raw_address.h"

#include <gtest/gtest.h>

#include <sstream>
#include <unordered_set>

namespace {

const RawAddress kSample{{0x00, 0x11, 0x22, 0x33, 0x44, 0x55}};
const RawAddress kMixed{{0xab, 0xcd, 0xef, 0x01, 0x9a, 0xf0}};

TEST(RawAddressLayout, IsSixPlainBytes) {
  static_assert(sizeof(RawAddress) == 6 && alignof(RawAddress) == 1);
  static_assert(std::is_trivially_copyable_v<RawAddress>);
  static_assert(RawAddress::kLength == 6 && BD_ADDR_LEN == 6);
  EXPECT_EQ(std::memcmp(&kSample, "\x00\x11\x22\x33\x44\x55", 6), 0);
}

TEST(RawAddressText, IsLowerCaseColonSeparated) {
  EXPECT_EQ(kSample.ToString(), "00:11:22:33:44:55");
  EXPECT_EQ(kMixed.ToString(), "ab:cd:ef:01:9a:f0");
  EXPECT_EQ(kMixed.ToColonSepHexString(), "ab:cd:ef:01:9a:f0");
  EXPECT_EQ(kMixed.ToStringForLogging(), "ab:cd:ef:01:9a:f0");
  std::ostringstream os;
  os << kMixed;
  EXPECT_EQ(os.str(), "ab:cd:ef:01:9a:f0");
}

TEST(RawAddressText, RedactedFormKeepsOnlyTheLastTwoBytes) {
  EXPECT_EQ(kSample.ToRedactedStringForLogging(), "xx:xx:xx:xx:44:55");
  EXPECT_EQ(kMixed.ToRedactedStringForLogging(), "xx:xx:xx:xx:9a:f0");
}

TEST(RawAddressParse, RoundTripsAndIgnoresCase) {
  RawAddress parsed;
  ASSERT_TRUE(RawAddress::FromString("00:11:22:33:44:55", parsed));
  EXPECT_EQ(parsed, kSample);
  ASSERT_TRUE(RawAddress::FromString("AB:cd:EF:01:9A:f0", parsed));
  EXPECT_EQ(parsed, kMixed);
  EXPECT_TRUE(RawAddress::FromString(kMixed.ToString(), parsed));
  EXPECT_EQ(parsed, kMixed);
}

// strtol decides what a piece means, signs included.
TEST(RawAddressParse, SignedPiecesKeepTheLowEightBits) {
  RawAddress parsed;
  ASSERT_TRUE(RawAddress::FromString("-1:00:00:00:00:+a", parsed));
  EXPECT_EQ(parsed.address[0], 0xff);
  EXPECT_EQ(parsed.address[5], 0x0a);
  ASSERT_TRUE(RawAddress::FromString("-f:00:00:00:00:00", parsed));
  EXPECT_EQ(parsed.address[0], 0xf1);
}

TEST(RawAddressParse, FailuresLeaveTheTargetUnchanged) {
  for (const char* text : {
           "00:11:22:33:44:5",    // 16 characters
           "00:11:22:33:44:555",  // 18 characters
           "00-11-22-33-44-55",   // no colons
           "0x:11:22:33:44:55",   // hex prefix leaves "x" behind
           "00:11:22:33:44:5g",   // not a hex digit
           "00:11:22:33:4::55",   // seven pieces
           "001:1:22:33:44:55",   // three-character piece
           "0 :11:22:33:44:55",   // white space is trimmed, leaving one character
           " 0:11:22:33:44:55",   // likewise
           "00:11:22:33:44:\t5",  // likewise
           "00:11:22:33:44:5 ",   // likewise
           "--:11:22:33:44:55",   // sign without digits
           "",
       }) {
    RawAddress target = kMixed;
    EXPECT_FALSE(RawAddress::FromString(text, target)) << '"' << text << '"';
    EXPECT_EQ(target, kMixed) << '"' << text << '"';
    EXPECT_FALSE(RawAddress::IsValidAddress(text)) << '"' << text << '"';
  }
}

TEST(RawAddressParse, ValidityFollowsFromString) {
  EXPECT_TRUE(RawAddress::IsValidAddress("ff:ff:ff:ff:ff:ff"));
  EXPECT_TRUE(RawAddress::IsValidAddress("+1:-2:00:00:00:00"));
}

TEST(RawAddressConstants, EmptyAndAny) {
  EXPECT_EQ(RawAddress::kEmpty.ToString(), "00:00:00:00:00:00");
  EXPECT_EQ(RawAddress::kAny.ToString(), "ff:ff:ff:ff:ff:ff");
  EXPECT_TRUE(RawAddress::kEmpty.IsEmpty());
  EXPECT_FALSE(RawAddress::kAny.IsEmpty());
  EXPECT_FALSE(kSample.IsEmpty());
}

TEST(RawAddressBytes, ConstructorsAndOctets) {
  const uint8_t raw[6] = {1, 2, 3, 4, 5, 6};
  const RawAddress from_raw(raw);
  const RawAddress from_array(std::array<uint8_t, 6>{1, 2, 3, 4, 5, 6});
  EXPECT_EQ(from_raw, from_array);
  EXPECT_EQ(from_raw.ToArray(), (std::array<uint8_t, 6>{1, 2, 3, 4, 5, 6}));

  RawAddress target = RawAddress::kEmpty;
  EXPECT_EQ(target.FromOctets(raw), 6u);
  EXPECT_EQ(target, from_raw);
}

TEST(RawAddressOrdering, FollowsBytesFromTheFirst) {
  const RawAddress low{{0x00, 0xff, 0xff, 0xff, 0xff, 0xff}};
  const RawAddress high{{0x01, 0x00, 0x00, 0x00, 0x00, 0x00}};
  EXPECT_TRUE(low < high);
  EXPECT_TRUE(high > low);
  EXPECT_TRUE(low <= high);
  EXPECT_TRUE(high >= low);
  EXPECT_TRUE(low != high);
  EXPECT_FALSE(low == high);
  EXPECT_FALSE(high < low);
  EXPECT_FALSE(low > high);
  EXPECT_TRUE(low <= low);
  EXPECT_TRUE(low >= low);
  EXPECT_FALSE(low < low);
  EXPECT_FALSE(low > low);
}

TEST(RawAddressHash, DistinguishesAddresses) {
  const std::unordered_set<RawAddress> set = {kSample, kMixed, RawAddress::kAny, kSample};
  EXPECT_EQ(set.size(), 3u);
  EXPECT_EQ(set.count(kMixed), 1u);
}

TEST(RawAddressStream, ByteOrderIsReversed) {
  uint8_t buffer[8] = {};
  uint8_t* out = buffer + 1;
  BDADDR_TO_STREAM(out, kSample);
  EXPECT_EQ(out, buffer + 7);
  EXPECT_EQ(std::memcmp(buffer + 1, "\x55\x44\x33\x22\x11\x00", 6), 0);

  RawAddress read;
  const uint8_t* in = buffer + 1;
  STREAM_TO_BDADDR(read, in);
  EXPECT_EQ(in, buffer + 7);
  EXPECT_EQ(read, kSample);

  uint8_t* mutable_in = buffer + 1;
  STREAM_TO_BDADDR(read, mutable_in);
  EXPECT_EQ(mutable_in, buffer + 7);
  EXPECT_EQ(read, kSample);
}

}  // namespace
