#include "Companion/Output/HtmlText.h"

#include <openssl/evp.h>

#include <stdexcept>

#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::html {

namespace {

std::string_view entityOf(char byte) {
  switch (byte) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return {};
  }
}

// As a policy names a style sheet.
std::string hashOf(std::string_view style) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (EVP_Digest(style.data(), style.size(), digest, &size, EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("The cryptographic library cannot hash the page's style.");
  unsigned char text[2 * EVP_MAX_MD_SIZE];
  const int length = EVP_EncodeBlock(text, digest, static_cast<int>(size));
  return "sha256-" + std::string(text, text + length);
}

}  // namespace

std::string escaped(std::string_view text) {
  std::string result;
  for (const char byte : display::printable(text)) {
    const std::string_view entity = entityOf(byte);
    entity.empty() ? result += byte : result += entity;
  }
  return result;
}

std::string link(std::string_view url) {
  const std::string shown = escaped(url);
  const bool isWeb = text::prefixLengthIgnoringCase(url, "https://") || text::prefixLengthIgnoringCase(url, "http://");
  return isWeb ? "<a rel=\"noopener noreferrer\" href=\"" + shown + "\">" + shown + "</a>" : shown;
}

std::string section(std::string_view tag, std::string_view heading, std::string_view items) {
  if (items.empty()) return {};
  const std::string name(tag);
  return "<section>\n<" + name + ">" + std::string(heading) + "</" + name + ">\n<ul>\n" + std::string(items) +
         "</ul>\n</section>\n";
}

std::string document(std::string_view title, std::string_view style, std::string_view body) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src '" +
         hashOf(style) +
         "'; base-uri 'none'; form-action 'none'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"referrer\" content=\"no-referrer\">\n<title>" +
         escaped(title) + "</title>\n<style>" + std::string(style) + "</style>\n</head>\n<body>\n" + std::string(body) +
         "</body>\n</html>\n";
}

}  // namespace pellora::html
