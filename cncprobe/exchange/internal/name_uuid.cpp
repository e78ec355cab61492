// Name-based UUIDs over nettle's SHA-1.
#include "cncprobe/exchange/internal/name_uuid.h"

#include <nettle/sha1.h>

#include <cstring>
#include <new>

namespace {

constexpr char kHex[] = "0123456789abcdef";

std::string hex_of(const std::uint8_t* bytes, std::size_t size) {
  std::string text;
  text.reserve(size * 2);
  for (std::size_t i = 0; i < size; ++i) {
    text += kHex[bytes[i] >> 4];
    text += kHex[bytes[i] & 0x0f];
  }
  return text;
}

static_assert(sizeof(sha1_ctx) <= 128 && alignof(sha1_ctx) <= 8,
              "the digest state must fit exContentDigest's storage");

sha1_ctx* context(std::array<unsigned char, 128>& state) {
  return std::launder(reinterpret_cast<sha1_ctx*>(state.data()));
}

}  // namespace

exNameUuid exNameUuid::application() noexcept {
  // Chosen once, at random, for this library; it never changes, or every UUID would.
  static constexpr std::array<std::uint8_t, 16> kApplication{0xfb, 0x7a, 0x31, 0x66, 0x35, 0xd9,
                                                             0x41, 0x39, 0x83, 0x0e, 0x90, 0x87,
                                                             0xfc, 0xd8, 0x7e, 0xcd};
  exNameUuid uuid;
  uuid.bytes_ = kApplication;
  return uuid;
}

exNameUuid exNameUuid::of(const exNameUuid& space, std::string_view name) {
  sha1_ctx ctx;
  sha1_init(&ctx);
  sha1_update(&ctx, space.bytes_.size(), space.bytes_.data());
  sha1_update(&ctx, name.size(), reinterpret_cast<const std::uint8_t*>(name.data()));
  std::uint8_t digest[SHA1_DIGEST_SIZE];
  sha1_digest(&ctx, SHA1_DIGEST_SIZE, digest);
  exNameUuid uuid;
  std::memcpy(uuid.bytes_.data(), digest, uuid.bytes_.size());
  uuid.bytes_[6] = static_cast<std::uint8_t>((uuid.bytes_[6] & 0x0f) | 0x50);  // version 5
  uuid.bytes_[8] = static_cast<std::uint8_t>((uuid.bytes_[8] & 0x3f) | 0x80);  // RFC 4122 variant
  return uuid;
}

exNameUuid exNameUuid::dns() noexcept {
  exNameUuid uuid;
  uuid.bytes_ = {0x6b, 0xa7, 0xb8, 0x10, 0x9d, 0xad, 0x11, 0xd1,
                 0x80, 0xb4, 0x00, 0xc0, 0x4f, 0xd4, 0x30, 0xc8};
  return uuid;
}

std::string exNameUuid::text() const {
  const std::string hex = hex_of(bytes_.data(), bytes_.size());
  return hex.substr(0, 8) + '-' + hex.substr(8, 4) + '-' + hex.substr(12, 4) + '-' +
         hex.substr(16, 4) + '-' + hex.substr(20);
}

exContentDigest::exContentDigest() { sha1_init(new (state_.data()) sha1_ctx); }

void exContentDigest::add(std::string_view bytes) {
  sha1_update(context(state_), bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

std::string exContentDigest::hex() const {
  sha1_ctx copy;
  std::memcpy(&copy, state_.data(), sizeof copy);
  std::uint8_t digest[SHA1_DIGEST_SIZE];
  sha1_digest(&copy, SHA1_DIGEST_SIZE, digest);
  return hex_of(digest, sizeof digest);
}
