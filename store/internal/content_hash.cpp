// SHA-256 through nettle: the store trusts a maintained cryptographic library, not a hand-written
// digest.
#include "store/internal/content_hash.h"

#include <nettle/sha2.h>

#include <cstdint>

namespace store {

std::string sha256_hex(std::string_view bytes) {
  sha256_ctx context;
  sha256_init(&context);
  // nettle takes sizes as size_t; feed large files in pieces all the same, so no size limit of
  // an older nettle's length type can bite.
  constexpr std::size_t kPiece = std::size_t{1} << 30;
  while (!bytes.empty()) {
    const std::size_t piece = bytes.size() < kPiece ? bytes.size() : kPiece;
    sha256_update(&context, piece, reinterpret_cast<const std::uint8_t*>(bytes.data()));
    bytes.remove_prefix(piece);
  }
  std::uint8_t digest[SHA256_DIGEST_SIZE];
  sha256_digest(&context, sizeof digest, digest);
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text(2 * sizeof digest, '0');
  for (std::size_t i = 0; i < sizeof digest; ++i) {
    text[2 * i] = kHex[digest[i] >> 4];
    text[2 * i + 1] = kHex[digest[i] & 15];
  }
  return text;
}

}  // namespace store
