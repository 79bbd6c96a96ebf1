#pragma once

#include <curl/curl.h>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The functions of libcurl, which is loaded when it is first needed: it brings so many libraries
// along that every other command would take twice as long to start.
struct CurlLibrary {
  // Throws CommandError when there is no such library.
  static const CurlLibrary& Get();

  decltype(&curl_easy_init) easyInit;
  decltype(&curl_easy_cleanup) easyCleanup;
  decltype(&curl_easy_setopt) easySetOption;
  decltype(&curl_easy_perform) easyPerform;
  decltype(&curl_easy_getinfo) easyGetInformation;
  decltype(&curl_easy_strerror) easyGetErrorText;
  decltype(&curl_easy_escape) easyEscape;
  decltype(&curl_easy_unescape) easyUnescape;
  decltype(&curl_slist_append) listAppend;
  decltype(&curl_slist_free_all) listFree;
  decltype(&curl_url) makeUrl;
  decltype(&curl_url_cleanup) cleanUpUrl;
  decltype(&curl_url_get) getUrlPart;
  decltype(&curl_url_set) setUrlPart;
  decltype(&curl_free) free;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
