#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuote.h"

#include <OstAPIClient.h>

#include <functional>

// The quote calls of the API client. Each takes the client to use (usually
// OstAPIClient::sharedClient()) and calls its block once, on the client's thread. With a
// `context`, an answer that arrives after the context is destroyed is dropped.
//
// Offline, a day already fetched is answered from the client's disk cache, which keeps a
// day's answer only when it is that day's quote. A kept "today" answers only while the
// server's cache headers call it fresh and its day is still today by OTClock; after that
// "today" needs the network, and fails without it.

using OstQuoteBlock = std::function<void(OstQuotePtr quote, const OTError &error)>;
using OstQuotesBlock = std::function<void(const QList<OstQuotePtr> &quotes, const OTError &error)>;
using OstQuoteUpdateBlock = std::function<void(OTModelPtr result, const OTError &error)>;

// The quote of the day `date` ("yyyy-MM-dd"), from "/api/v2/quote/quotes/{date}/". The
// word "today" asks for today's quote without storing it.
OSTQUOTE_EXPORT void getQuoteWithDate(OstAPIClient *client, const QString &date, OstQuoteBlock block,
                                      QObject *context = nullptr);

// Today's quote, kept as the latest quote (OTUserInfoStore+OstQuote) when it arrives. The
// block, when given, sees the answer whether or not it could be stored.
OSTQUOTE_EXPORT void updateQuoteWithBlock(OstAPIClient *client, OstQuoteUpdateBlock block = {},
                                          QObject *context = nullptr);

// The batch of coming days' quotes, always from the network.
OSTQUOTE_EXPORT void getQuotesWithBlock(OstAPIClient *client, OstQuotesBlock block, QObject *context = nullptr);

// The API paths.
inline constexpr const char *OstQuoteDayAPI = "/api/v2/quote/quotes/{date}/";
inline constexpr const char *OstQuoteTodayAPI = "/api/v2/quote/quotes/today/";
inline constexpr const char *OstQuoteBatchAPI = "/api/v2/quote/quotes/batch/";
