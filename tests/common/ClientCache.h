#pragma once

#include <OstAPIClient.h>

#include <QAbstractNetworkCache>
#include <QDir>
#include <QNetworkAccessManager>

// Forgets every answer the client keeps for offline use, so that a test starts from a
// device that has seen nothing. (Servers of earlier tests and earlier runs listened on
// loopback ports that a later server, or a port meant to refuse, may reuse: their answers
// would stand in for it.)
inline void forgetCachedAnswers(OstAPIClient *client)
{
    if (QAbstractNetworkCache *cache = client->networkAccessManager()->cache())
        cache->clear();
    else
        QDir(OstAPIClient::cacheDirectory()).removeRecursively();
}
