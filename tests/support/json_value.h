#pragma once
// Values of a JSON file that is trusted: expected results beside real data.

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace orbmath_test {

struct Json {
  std::map<std::string, Json> members;
  std::vector<Json> items;
  std::string text;  ///< of a text or a word; a number as it is written
  double number = 0.0;

  bool Has(const std::string& key) const { return members.count(key) != 0 && members.at(key).text != "null"; }
  const Json& operator[](const std::string& key) const { return members.at(key); }
};

/// Parses at `*p` and moves it behind the value.
inline Json ParseJson(const char** p) {
  const auto text = [p] {
    std::string value;
    for (++*p; **p != '"'; ++*p) value += **p == '\\' ? *++*p : **p;
    ++*p;
    return value;
  };
  const auto skip = [p] { *p += std::strspn(*p, " \t\r\n,:"); };
  Json json;
  skip();
  if (**p == '"') {
    json.text = text();
  } else if (**p == '{') {
    for (++*p, skip(); **p != '}'; skip()) {
      const std::string key = text();
      json.members[key] = ParseJson(p);
    }
    ++*p;
  } else if (**p == '[') {
    for (++*p, skip(); **p != ']'; skip()) json.items.push_back(ParseJson(p));
    ++*p;
  } else {
    const std::size_t size = std::strcspn(*p, " \t\r\n,]}");
    json.text = std::string(*p, size);
    json.number = std::strtod(json.text.c_str(), nullptr);
    *p += size;
  }
  return json;
}

}  // namespace orbmath_test
