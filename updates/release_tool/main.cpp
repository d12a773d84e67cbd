// ravo-release: makes the key, signs release manifests and checks envelopes exactly as
// Ravo will, so a publisher needs no other tool.
#include "base/atomic_file.h"
#include "base/json_parse.h"
#include "updates/core/update_decision.h"
#include "updates/core/update_verifier.h"
#include "updates/release_tool/release_signer.h"

#include <charconv>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using namespace ravo;
using namespace ravo::updates;

namespace {

constexpr const char* kUsage =
    "Usage: ravo-release keygen KEY.pem\n"
    "       ravo-release public-key --key KEY.pem\n"
    "       ravo-release sign --key KEY.pem MANIFEST.json > ENVELOPE.json\n"
    "       ravo-release verify [--public-key BASE64] [--build N] ENVELOPE.json\n"
    "\n"
    "A manifest is JSON with \"version\", \"build\", \"minimumBuild\", \"publishedAt\" (ISO "
    "8601),\n"
    "\"downloadURL\" (https), \"sha256\" and optionally \"notes\". Publish the envelope as\n"
    "RELEASE_DIR/linux-stable.json for ravo-server --release-dir RELEASE_DIR.\n"
    "verify checks with Ravo's own verifier, against the built-in key unless another is given,\n"
    "and prints the manifest and, with --build, the decision for that build.\n";

int usage(const std::string& problem) {
    std::cerr << "ravo-release: " << problem << "\n\n" << kUsage;
    return 2;
}

int failed(const std::string& message) {
    std::cerr << message << "\n";
    return 1;
}

std::optional<std::string> readInput(const std::string& path) {
    return readFile(path, 4 * 1024 * 1024);
}

int sign(const std::string& key, const std::string& manifestPath) {
    const auto manifest = readInput(manifestPath);
    if (!manifest)
        return failed("Cannot read " + manifestPath + ".");
    // Nothing is signed that Ravo would refuse.
    const auto json = parseJson(*manifest);
    const auto release = json ? ReleaseManifest::fromJson(*json) : std::nullopt;
    if (!release)
        return failed(manifestPath + ": " + std::string(text(UpdateError::malformed)));
    if (!release->downloadURL.starts_with("https://"))
        return failed(std::string(text(UpdateError::insecureDownload)));
    const auto envelope = ReleaseSigner::envelope(key, *manifest);
    if (!envelope)
        return failed(envelope.error());
    // What goes out is what the app will accept, checked as the app checks it.
    if (envelope->size() > UpdateVerifier::kEnvelopeLimit)
        return failed("The signed envelope would be " + std::to_string(envelope->size()) +
                      " bytes, and Ravo reads at most " +
                      std::to_string(UpdateVerifier::kEnvelopeLimit) +
                      " of one: shorten the notes.");
    const auto publicKey = ReleaseSigner::publicKeyOf(key);
    if (!publicKey)
        return failed(publicKey.error());
    const auto verified = UpdateVerifier::manifest(*envelope, *publicKey);
    if (const auto* error = std::get_if<UpdateError>(&verified))
        return failed("Ravo would refuse this envelope: " + std::string(text(*error)));
    std::cout << *envelope;
    return 0;
}

int verify(const std::string& publicKey, std::optional<long long> build,
           const std::string& envelopePath) {
    const auto envelope = readInput(envelopePath);
    if (!envelope)
        return failed("Cannot read " + envelopePath + ".");
    const auto verified = UpdateVerifier::manifest(*envelope, publicKey);
    if (const auto* error = std::get_if<UpdateError>(&verified))
        return failed(std::string(text(*error)));
    const auto& release = std::get<ReleaseManifest>(verified);
    std::cout << release.toJson().dump(2) << "\n";
    if (build)
        std::cout << rawValue(UpdateDecision::decide(release, *build).kind) << "\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
        std::cout << kUsage;
        return arguments.empty() ? 2 : 0;
    }
    std::string key, publicKey(UpdateVerifier::defaultPublicKey());
    std::optional<long long> build;
    std::vector<std::string> files;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if ((word == "--key" || word == "--public-key" || word == "--build") &&
            i + 1 < arguments.size()) {
            const std::string& value = arguments[++i];
            if (word == "--key") {
                key = value;
            } else if (word == "--public-key") {
                publicKey = value;
            } else {
                long long number = 0;
                const auto [end, error] =
                    std::from_chars(value.data(), value.data() + value.size(), number);
                if (error != std::errc{} || end != value.data() + value.size())
                    return usage("--build takes a whole number.");
                build = number;
            }
        } else if (!word.starts_with("--")) {
            files.push_back(word);
        } else {
            return usage("Unknown option " + word + ".");
        }
    }
    const std::string& command = arguments[0];
    if (command == "keygen" && files.size() == 1) {
        const auto made = ReleaseSigner::generateKey(files[0]);
        if (!made)
            return failed(made.error());
        std::cout << *made << "\n";
        return 0;
    }
    if (command == "public-key" && !key.empty() && files.empty()) {
        const auto found = ReleaseSigner::publicKeyOf(key);
        if (!found)
            return failed(found.error());
        std::cout << *found << "\n";
        return 0;
    }
    if (command == "sign" && !key.empty() && files.size() == 1)
        return sign(key, files[0]);
    if (command == "verify" && files.size() == 1)
        return verify(publicKey, build, files[0]);
    return usage("Unknown or incomplete command.");
}
