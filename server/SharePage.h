#pragma once

#include "DayQuote.h"

#include <QString>

#include <string>

namespace SharePage {

// Text with &, <, >, " and ' written as character references.
QString escaped(const QString &text);

// The share page of a day: its sentence, author, translation and picture, with Open Graph
// tags for link previews. UTF-8 HTML.
std::string html(const DayQuote &quote, const QString &publicBase);

} // namespace SharePage
