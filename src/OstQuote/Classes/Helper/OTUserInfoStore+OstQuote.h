#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuote.h"

#include <OTUserInfoStore.h>

// The latest quote of the day, kept in the app's persistent settings (OTUserInfoStore) as
// the keyed archive of the record under "kNewQuote". One quote only: each update replaces
// the previous one; every other setting is left as it is.
inline constexpr const char *OstQuoteLatestQuoteKey = "kNewQuote";

// Stores `quote` as the latest quote. False for a null quote or when the settings could not
// be written, with the reason in `error`; the previous latest quote then stays. Settings that
// could not be read are never written over; a damaged settings file is first moved aside.
OSTQUOTE_EXPORT bool updateQuote(const OstQuote *quote, OTError *error = nullptr);

// The record stored by the last successful updateQuote(), or null on a fresh store.
OSTQUOTE_EXPORT OTModelPtr latestQuote(OTError *error = nullptr);
