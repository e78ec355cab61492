// Name-based UUIDs: the published example of a version-5 UUID, and the digest of known bytes.
#include "cncprobe/exchange/internal/name_uuid.h"

#include <gtest/gtest.h>

namespace {

TEST(ExNameUuid, MatchesTheKnownVersion5Example) {
  // uuid5(NAMESPACE_DNS, "www.example.com") = 2ed6657d-e927-568b-95e1-2665a8aea6a2
  EXPECT_EQ(exNameUuid::of(exNameUuid::dns(), "www.example.com").text(),
            "2ed6657d-e927-568b-95e1-2665a8aea6a2");
}

TEST(ExNameUuid, FollowsFromNamespaceAndNameAlone) {
  const exNameUuid program = exNameUuid::of(exNameUuid::application(), "program\ncover.cl");
  EXPECT_EQ(exNameUuid::of(program, "circle 12"), exNameUuid::of(program, "circle 12"));
  EXPECT_NE(exNameUuid::of(program, "circle 12"), exNameUuid::of(program, "circle 13"));
  const exNameUuid other = exNameUuid::of(exNameUuid::application(), "program\nbase.cl");
  EXPECT_NE(exNameUuid::of(program, "circle 12"), exNameUuid::of(other, "circle 12"));
  const std::string text = exNameUuid::of(program, "x").text();
  EXPECT_EQ(text[14], '5');                                          // version 5
  EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos);  // RFC 4122 variant
}

TEST(ExContentDigest, IsSha1OfEverythingAddedInPieces) {
  exContentDigest digest;
  EXPECT_EQ(digest.hex(), "da39a3ee5e6b4b0d3255bfef95601890afd80709");  // nothing
  digest.add("a");
  digest.add("bc");
  EXPECT_EQ(digest.hex(), "a9993e364706816aba3e25717850c26c9cd0d89d");  // "abc"
}

}  // namespace
