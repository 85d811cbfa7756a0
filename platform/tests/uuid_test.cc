#include <bluetooth/uuid.h>

#include <gtest/gtest.h>

#include <sstream>
#include <unordered_set>

namespace {

using bluetooth::Uuid;

constexpr char kBase[] = "00000000-0000-1000-8000-00805f9b34fb";

TEST(UuidParse, AcceptsTheLongForm) {
  bool valid = false;
  const Uuid uuid = Uuid::FromString("0123ABCD-4567-89ab-CDEF-0123456789aB", &valid);
  EXPECT_TRUE(valid);
  const Uuid::UUID128Bit expected = {0x01, 0x23, 0xab, 0xcd, 0x45, 0x67, 0x89, 0xab,
                                     0xcd, 0xef, 0x01, 0x23, 0x45, 0x67, 0x89, 0xab};
  EXPECT_EQ(uuid.To128BitBE(), expected);
  EXPECT_EQ(uuid.GetShortestRepresentationSize(), Uuid::kNumBytes128);
}

TEST(UuidParse, ShortFormsLandInTheBaseUuid) {
  bool valid = false;
  const Uuid uuid16 = Uuid::FromString("180D", &valid);
  EXPECT_TRUE(valid);
  EXPECT_EQ(uuid16.ToString(), "0000180d-0000-1000-8000-00805f9b34fb");
  EXPECT_TRUE(uuid16.Is16Bit());
  EXPECT_EQ(uuid16.As16Bit(), 0x180d);

  const Uuid uuid32 = Uuid::FromString("1234abcd", &valid);
  EXPECT_TRUE(valid);
  EXPECT_EQ(uuid32.ToString(), "1234abcd-0000-1000-8000-00805f9b34fb");
  EXPECT_EQ(uuid32.GetShortestRepresentationSize(), Uuid::kNumBytes32);
  EXPECT_FALSE(uuid32.Is16Bit());
  EXPECT_EQ(uuid32.As32Bit(), 0x1234abcdu);
}

TEST(UuidParse, RefusesMalformedText) {
  for (const char* text : {"", "180", "180d0", "12345678-1234-1234-1234-12345678901",
                           "12345678-1234-1234-1234-1234567890123", "12345678+1234-1234-1234-123456789012",
                           "1234567-81234-1234-1234-123456789012", "12345678-1234-1234-1234-12345678901g", "+180",
                           "-180", " 180", "0x18", "180g", "0x12345f"}) {
    bool valid = true;
    const Uuid uuid = Uuid::FromString(text, &valid);
    EXPECT_FALSE(valid) << '"' << text << '"';
    EXPECT_EQ(uuid, Uuid::kEmpty) << '"' << text << '"';
  }
}

TEST(UuidParse, ValidityPointerIsOptional) {
  EXPECT_EQ(Uuid::FromString("zzzz"), Uuid::kEmpty);
  EXPECT_EQ(Uuid::FromString("2a37"), Uuid::From16Bit(0x2a37));
}

TEST(UuidShortForms, SixteenBitRoundTrip) {
  for (const uint16_t value : {0x0000, 0x0001, 0x180d, 0xfffe, 0xffff}) {
    const Uuid uuid = Uuid::From16Bit(value);
    EXPECT_TRUE(uuid.Is16Bit());
    EXPECT_EQ(uuid.GetShortestRepresentationSize(), Uuid::kNumBytes16);
    EXPECT_EQ(uuid.As16Bit(), value);
    EXPECT_EQ(Uuid::FromString(uuid.ToString()), uuid);
  }
}

TEST(UuidShortForms, ThirtyTwoBitWithZeroHighHalfIsSixteenBit) {
  EXPECT_EQ(Uuid::From32Bit(0x0000180d), Uuid::From16Bit(0x180d));
  EXPECT_EQ(Uuid::From32Bit(0x0001180d).GetShortestRepresentationSize(), Uuid::kNumBytes32);
}

TEST(UuidShortForms, AnyDifferenceOutsideTheFirstFourBytesNeedsTheFullForm) {
  Uuid::UUID128Bit bytes = Uuid::From16Bit(0x180d).To128BitBE();
  bytes[15] ^= 1;
  EXPECT_EQ(Uuid::From128BitBE(bytes).GetShortestRepresentationSize(), Uuid::kNumBytes128);
  EXPECT_FALSE(Uuid::From128BitBE(bytes).Is16Bit());
}

TEST(UuidText, IsLowerCaseEightFourFourFourTwelve) {
  const Uuid::UUID128Bit bytes = {0xde, 0xad, 0xbe, 0xef, 0x00, 0x01, 0x02, 0x03,
                                  0xa4, 0xb5, 0xc6, 0xd7, 0xe8, 0xf9, 0x0a, 0x1b};
  EXPECT_EQ(Uuid::From128BitBE(bytes).ToString(), "deadbeef-0001-0203-a4b5-c6d7e8f90a1b");
  EXPECT_EQ(Uuid::From128BitBE(bytes).ToString().size(), Uuid::kString128BitLen);
  std::ostringstream os;
  os << Uuid::From16Bit(0xabcd);
  EXPECT_EQ(os.str(), "0000abcd-0000-1000-8000-00805f9b34fb");
}

TEST(UuidBytes, LittleEndianIsTheReverse) {
  const Uuid uuid = Uuid::FromString("00112233-4455-6677-8899-aabbccddeeff");
  const Uuid::UUID128Bit le = uuid.To128BitLE();
  EXPECT_EQ(le[0], 0xff);
  EXPECT_EQ(le[15], 0x00);
  EXPECT_EQ(Uuid::From128BitLE(le), uuid);
  EXPECT_EQ(Uuid::From128BitLE(le.data()), uuid);
  EXPECT_EQ(Uuid::From128BitBE(uuid.To128BitBE().data()), uuid);
}

TEST(UuidBytes, From128BitBEIsConstexpr) {
  constexpr Uuid uuid = Uuid::From128BitBE(Uuid::UUID128Bit{{0x01}});
  EXPECT_EQ(uuid.ToString(), "01000000-0000-0000-0000-000000000000");
}

TEST(UuidPredicates, EmptyAndBase) {
  EXPECT_TRUE(Uuid::kEmpty.IsEmpty());
  EXPECT_EQ(Uuid::kEmpty.ToString(), "00000000-0000-0000-0000-000000000000");
  EXPECT_FALSE(Uuid::kEmpty.IsBase());

  const Uuid base = Uuid::FromString(kBase);
  EXPECT_TRUE(base.IsBase());
  EXPECT_FALSE(base.IsEmpty());
  EXPECT_EQ(base, Uuid::From16Bit(0));
  EXPECT_FALSE(Uuid::From16Bit(1).IsBase());
}

TEST(UuidOrdering, ComparesBytesInNetworkOrder) {
  const Uuid low = Uuid::FromString("00000000-0000-0000-0000-0000000000ff");
  const Uuid high = Uuid::FromString("00000001-0000-0000-0000-000000000000");
  EXPECT_TRUE(low < high);
  EXPECT_FALSE(high < low);
  EXPECT_FALSE(low < low);
  EXPECT_TRUE(low != high);
  EXPECT_FALSE(low == high);
}

TEST(UuidMutation, UpdateUuidCopiesTheValue) {
  Uuid uuid = Uuid::kEmpty;
  uuid.UpdateUuid(Uuid::From16Bit(0x2902));
  EXPECT_EQ(uuid, Uuid::From16Bit(0x2902));
}

TEST(UuidRandom, DiffersBetweenCalls) {
  std::unordered_set<Uuid> seen;
  for (int i = 0; i < 16; ++i) seen.insert(Uuid::GetRandom());
  EXPECT_EQ(seen.size(), 16u);
}

TEST(UuidHash, EqualValuesHashEqually) {
  const std::hash<Uuid> hash;
  EXPECT_EQ(hash(Uuid::From16Bit(0x180d)), hash(Uuid::FromString("0000180d-0000-1000-8000-00805f9b34fb")));
  EXPECT_NE(hash(Uuid::From16Bit(0x180d)), hash(Uuid::From16Bit(0x180e)));
}

}  // namespace
