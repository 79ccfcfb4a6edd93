// Pieces of a page for a browser. Tested by Tests/Companion/LatelyPageTests.cpp.
#pragma once

#include <string>
#include <string_view>

namespace pellora::html {

// Without anything that means something in HTML, in text or in attributes, and without characters that steer.
std::string escaped(std::string_view text);

// <a>, for addresses of the web only; anything else stays text. The page that it leads to does not learn where the
// visitor came from.
std::string link(std::string_view url);

// "<h2>heading</h2>" and the list; empty without items.
std::string section(std::string_view tag, std::string_view heading, std::string_view items);

// A whole page. It may show what is in it and this style sheet, and nothing else: the policy forbids scripts, forms
// and anything from elsewhere, and admits the style by its hash.
std::string document(std::string_view title, std::string_view style, std::string_view body);

}  // namespace pellora::html
