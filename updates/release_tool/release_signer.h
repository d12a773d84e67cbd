#pragma once

#include "base/result.h"

#include <filesystem>
#include <string>
#include <string_view>

// The publisher's side of a release: an Ed25519 key in a PEM file, and envelopes signed
// with it.
namespace ravo::updates::ReleaseSigner {

// Makes a new private key at `path` (0600, never over an existing file); gives the public
// key as base64, the form the app is built with.
Result<std::string> generateKey(const std::filesystem::path& path);
Result<std::string> publicKeyOf(const std::filesystem::path& keyFile);
// The envelope for `manifest`, signed over its bytes exactly as given.
Result<std::string> envelope(const std::filesystem::path& keyFile, std::string_view manifest);

} // namespace ravo::updates::ReleaseSigner
