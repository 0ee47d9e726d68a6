#pragma once

#include <locale>

/// The process-wide locale: the one that the environment variable NIMBREL_LOCALE names, with all
/// categories, or "C" if the variable isn't set or names no locale. An empty variable names the
/// user's own locale, as LC_ALL, LANG and the like have it. Made on first use, at the latest during
/// static construction, and never changed or freed afterwards; any thread may call.
const std::locale& processLocale();

/// The choice of `processLocale`: the locale of that name, with all categories, or "C" if `name` is
/// null or names no locale, without a word. An empty name is the user's own locale.
std::locale localeOrClassic(const char* name);
