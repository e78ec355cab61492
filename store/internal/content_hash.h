// The SHA-256 of a file's content, by which the store knows a file it has seen. Internal to
// store/: the record carries the hash (store/run_record.h).
#pragma once

#include <string>
#include <string_view>

namespace store {

// 64 lower-case hex digits.
std::string sha256_hex(std::string_view bytes);

}  // namespace store
