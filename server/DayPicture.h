#pragma once

#include "DayQuote.h"

#include <QByteArray>
#include <QDate>
#include <QImage>
#include <QSize>

// The pictures of a day, drawn with QPainter from nothing but the day (and, for the share
// card, its quote): the same day always gives the same pixels, so the same JPEG bytes.
// Safe to call from worker threads.
namespace DayPicture {

inline constexpr QSize PictureSize(750, 1334);
inline constexpr QSize ShareCardSize(750, 750);

// The day's background: a landscape under a sky of the season and a time of day. The top
// and bottom stay calm so that white text over a dark gradient reads well on it.
QImage picture(const QDate &day);

// The day's square share card: the middle of its picture with the sentence, the author and
// the translation drawn over it.
QImage shareCard(const DayQuote &quote);

// Baseline JPEG.
QByteArray jpeg(const QImage &image, int quality = 88);

} // namespace DayPicture
