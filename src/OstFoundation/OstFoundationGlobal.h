#pragma once

#include <QtCore/qglobal.h>

#if defined(OSTFOUNDATION_LIBRARY)
#  define OSTFOUNDATION_EXPORT Q_DECL_EXPORT
#else
#  define OSTFOUNDATION_EXPORT Q_DECL_IMPORT
#endif
