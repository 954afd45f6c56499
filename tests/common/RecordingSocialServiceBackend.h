#pragma once

#include <OTSocialService.h>

// Keeps every share and activity instead of carrying it out.
class OTRecordingSocialServiceBackend : public OTSocialServiceBackend
{
public:
    bool share(const OTShareRequest &request) override
    {
        shares.append(request);
        return succeed;
    }
    bool performActivity(const QString &activity, const QVariantList &items) override
    {
        activities.append({activity, items});
        return succeed;
    }

    QList<OTShareRequest> shares;
    QList<QPair<QString, QVariantList>> activities;
    bool succeed = true; // what share() and performActivity() answer
};
