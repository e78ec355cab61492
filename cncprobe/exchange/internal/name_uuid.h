// Name-based UUIDs (version 5: SHA-1 of a namespace and a name) and the digest of a file's bytes.
//
// A consumer of exchanged results matches a characteristic across runs by its UUID, so the UUID
// must follow from what the characteristic is (the program, the feature, the quantity), never
// from when or where it was written.
//
//   const exNameUuid program = exNameUuid::of(exNameUuid::application(), "program\ncover.cl");
//   const exNameUuid hole = exNameUuid::of(program, "circle 12 diameter");
//   write(hole.text());  // 8-4-4-4-12 lower-case hex
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

class exNameUuid {
 public:
  // The nil UUID (all zero).
  exNameUuid() = default;
  // The namespace every UUID this library makes descends from.
  static exNameUuid application() noexcept;
  // The DNS namespace of RFC 4122 (6ba7b810-9dad-11d1-80b4-00c04fd430c8), for checking against
  // published examples.
  static exNameUuid dns() noexcept;
  // The version-5 UUID of `name` (its bytes as given) in the namespace `space`.
  static exNameUuid of(const exNameUuid& space, std::string_view name);
  // "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", lower-case.
  std::string text() const;
  const std::array<std::uint8_t, 16>& bytes() const noexcept { return bytes_; }
  bool operator==(const exNameUuid&) const = default;

 private:
  std::array<std::uint8_t, 16> bytes_{};
};

// SHA-1 of bytes fed in pieces, given as 40 lower-case hex digits.
class exContentDigest {
 public:
  exContentDigest();
  void add(std::string_view bytes);
  // The digest of everything added so far.
  std::string hex() const;

 private:
  // The hash state, kept opaque so this header needs no hashing library.
  alignas(8) std::array<unsigned char, 128> state_{};
};
