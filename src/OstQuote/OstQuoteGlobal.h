#pragma once

#include <QtCore/qglobal.h>

#if defined(OSTQUOTE_LIBRARY)
#  define OSTQUOTE_EXPORT Q_DECL_EXPORT
#else
#  define OSTQUOTE_EXPORT Q_DECL_IMPORT
#endif
