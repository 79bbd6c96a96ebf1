#include "push/curl_library.h"

#include <dlfcn.h>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

[[noreturn]] void RefuseAbsent() {
  const char* const reason = dlerror();  // NOLINT(concurrency-mt-unsafe): no other thread loads
  throw CommandError("libcurl", reason == nullptr ? "it cannot be loaded" : reason,
                     StatusCode::NotFound);
}

// Its flavours have the same functions, and stay loaded to the end.
void* Load() {
  for (const char* const name : {"libcurl.so.4", "libcurl-gnutls.so.4"}) {
    void* const library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr) {
      return library;
    }
  }
  RefuseAbsent();
}

template <typename Function>
void Find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  if (function == nullptr) {
    RefuseAbsent();
  }
}

CurlLibrary LoadFunctions() {
  void* const library = Load();
  CurlLibrary curl{};
  Find(library, "curl_easy_init", curl.easyInit);
  Find(library, "curl_easy_cleanup", curl.easyCleanup);
  Find(library, "curl_easy_setopt", curl.easySetOption);
  Find(library, "curl_easy_perform", curl.easyPerform);
  Find(library, "curl_easy_getinfo", curl.easyGetInformation);
  Find(library, "curl_easy_strerror", curl.easyGetErrorText);
  Find(library, "curl_easy_escape", curl.easyEscape);
  Find(library, "curl_easy_unescape", curl.easyUnescape);
  Find(library, "curl_slist_append", curl.listAppend);
  Find(library, "curl_slist_free_all", curl.listFree);
  Find(library, "curl_url", curl.makeUrl);
  Find(library, "curl_url_cleanup", curl.cleanUpUrl);
  Find(library, "curl_url_get", curl.getUrlPart);
  Find(library, "curl_url_set", curl.setUrlPart);
  Find(library, "curl_free", curl.free);
  return curl;
}

}  // namespace

const CurlLibrary& CurlLibrary::Get() {
  static const CurlLibrary curl = LoadFunctions();
  return curl;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
