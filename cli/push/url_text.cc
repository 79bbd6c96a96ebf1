#include "push/url_text.h"

#include <curl/curl.h>

#include <memory>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using CurlText = std::unique_ptr<char, decltype(&curl_free)>;

}  // namespace

std::string EncodeUrlPart(const std::string& text) {
  const CurlText encoded(curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())),
                         curl_free);
  RequireMemory(encoded != nullptr);
  return encoded.get();
}

std::string DecodeUrlPart(const std::string& text) {
  int size = 0;
  const CurlText decoded(
      curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &size), curl_free);
  RequireMemory(decoded != nullptr);
  return {decoded.get(), static_cast<std::size_t>(size)};
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
