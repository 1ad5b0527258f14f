#include "datetime/notation.h"

#include <array>
#include <utility>

namespace plx {

namespace {

constexpr std::array<std::pair<std::string_view, Form>, 10> kForms = {{
    {"iso", Form::calendar},
    {"ordinal", Form::ordinal},
    {"week", Form::week},
    {"rfc3339", Form::rfc3339},
    {"rfc9557", Form::rfc9557},
    {"s", Form::seconds},
    {"ms", Form::milliseconds},
    {"us", Form::microseconds},
    {"ns", Form::nanoseconds},
    {"pair", Form::pair},
}};

}  // namespace

std::optional<Form> formNamed(std::string_view name) {
  for (const auto& [known, form] : kForms) {
    if (known == name) return form;
  }
  return std::nullopt;
}

}  // namespace plx
