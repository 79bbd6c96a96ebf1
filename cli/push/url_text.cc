#include "push/url_text.h"

#include <curl/curl.h>

#include <memory>
#include <new>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using CurlText = std::unique_ptr<char, decltype(&curl_free)>;

}  // namespace

std::string EncodeUrlPart(const std::string& text) {
  const CurlText encoded(curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())),
                         curl_free);
  if (encoded == nullptr) {
    throw std::bad_alloc();
  }
  return encoded.get();
}

std::string DecodeUrlPart(const std::string& text) {
  int size = 0;
  const CurlText decoded(
      curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &size), curl_free);
  if (decoded == nullptr) {
    throw std::bad_alloc();
  }
  return {decoded.get(), static_cast<std::size_t>(size)};
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
