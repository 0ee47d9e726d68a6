#pragma once

#include <locale>

/// The process-wide locale: the one that the environment variable NIMBREL_LOCALE names, with all
/// categories, or "C" if the variable isn't set or names no locale. Made on first use, at the
/// latest during static construction, and never changed or freed afterwards.
const std::locale& processLocale();

/// The choice of `processLocale`: the locale of that name, with all categories, or "C" if `name` is
/// null or names no locale, without a word.
std::locale localeOrClassic(const char* name);
