// Tests of the tool's buffered output and of fixed-point numbers formatted without a general
// conversion.
#include "tools/output.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/repeatable_random.h"

namespace tool {
namespace {

std::string reference_fixed(double value, int decimals, bool plus_sign) {
  char buffer[kNumberBufferSize];
  char* first = buffer;
  if (plus_sign && value > 0.0) *first++ = '+';
  const std::to_chars_result r =
      std::to_chars(first, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  return std::string(buffer, r.ptr);
}

// The quick rounding must give the exact decimal expansion's digits: ties of the decimal value
// (which the binary value is a little above or below), exact binary ties (round to even), signs
// of values that round to zero, and values of every size.
TEST(FixedNumber, WrittenAsTheExactDecimalExpansionRounds) {
  std::vector<double> values = {0.0,     -0.0,    0.5,     1.5,       2.5,      0.125,   0.375,
                                0.0005,  0.0015,  0.0025,  1.0005,    2.675,    1.005,   0.045,
                                -0.0004, -0.0005, 1e-300,  -1e-300,   5e-324,   0.49999, 9.9995,
                                99.9995, 1e15,    4.5e15,  0x1p52,    0x1p53,   1e22,    1e300,
                                -1e300,  25.012,  -25.012, 1.0 / 3.0, 2.0 / 3.0};
  RepeatableRandom next(0x9E3779B97F4A7C15ULL);
  for (int i = 0; i < 30000; ++i) {
    // Decimals of up to six digits and their neighbours, and values of any bits.
    const double decimal = static_cast<double>(next() % 100000000) / 1e6;
    values.push_back(decimal);
    values.push_back(std::nextafter(decimal, 1e9));
    values.push_back(std::nextafter(decimal, -1e9));
    double any = 0;
    const std::uint64_t bits = next();
    std::memcpy(&any, &bits, sizeof any);
    values.push_back(any);
  }
  for (const double magnitude : values) {
    for (const double value : {magnitude, -magnitude}) {
      for (const int decimals : {0, 1, 3, 5, 12, 16, 20}) {
        for (const bool plus_sign : {false, true}) {
          char buffer[kNumberBufferSize];
          const std::string text(buffer, write_fixed(value, decimals, plus_sign, buffer));
          ASSERT_EQ(text, reference_fixed(value, decimals, plus_sign))
              << std::hexfloat << value << " decimals " << decimals;
        }
      }
    }
  }
  for (const double value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(format_fixed(value, 3, true), reference_fixed(value, 3, true));
  }
}

// Bytes written in pieces of every size, and numbers formatted in place, reach the stream whole
// and in order, whether a piece fits the block, ends it, or is larger than a block.
TEST(Output, PiecesReachTheStreamInOrder) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  std::string expected;
  {
    Output out(file);
    std::uint64_t state = 12345;
    for (int i = 0; i < 3000; ++i) {
      state = state * 6364136223846793005ULL + 1442695040888963407ULL;
      const std::size_t kind = (state >> 33) % 5;
      if (kind == 0) {
        out.write(static_cast<char>('a' + i % 26));
        expected.push_back(static_cast<char>('a' + i % 26));
      } else if (kind == 1) {
        const std::string piece((state >> 40) % (Output::kBlockSize / 7), 'x');
        out.write(piece);
        expected += piece;
      } else if (kind == 2 && i % 50 == 0) {
        const std::string piece(Output::kBlockSize + 3, 'L');
        out.write(piece);
        expected += piece;
      } else if (kind == 3) {
        const std::size_t blanks = i % 7 == 0 ? Output::kBlockSize + 5 : i % 40;
        out.write_blanks(blanks);
        expected.append(blanks, ' ');
      } else {
        const double value = static_cast<double>(i) / 7.0;
        out.commit(write_json_number(value, out.room_for(kJsonNumberRoom)));
        char buffer[kNumberBufferSize];
        expected += format_json_number(value, buffer);
      }
    }
    out.flush();
  }
  std::rewind(file);
  std::string written(expected.size() + 1, '\0');
  written.resize(std::fread(written.data(), 1, written.size(), file));
  std::fclose(file);
  EXPECT_EQ(written.size(), expected.size());
  EXPECT_TRUE(written == expected);
}

}  // namespace
}  // namespace tool
