#pragma once

#include <locale>

/// Returns the process-wide locale. The environment variable NIMBREL_LOCALE names it; it has all
/// categories of that locale. If the variable isn't set, or doesn't name a locale, the locale is
/// "C". An empty variable names the user's own locale, as set by LC_ALL, LANG and similar
/// variables. The locale is created on first use, at the latest during static construction, and is
/// never changed or freed afterwards. Any thread may call this function.
[[nodiscard]] const std::locale& processLocale();

/// Returns the locale with this name, with all categories, by the rules of `processLocale`: "C" if
/// `name` is null or doesn't name a locale, without an error, and the user's own locale if it is
/// empty.
[[nodiscard]] std::locale localeOrClassic(const char* name);
