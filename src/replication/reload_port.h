// The reload port: one-line commands in UDP datagrams from this machine, sent by tools that
// changed the data files (quorvane-ctl among them). Nothing is ever answered.
#pragma once

#include "net/network.h"
#include "query/query_host.h"
#include "replication/notify.h"
#include "replication/zone_queue.h"
#include "store/record_store.h"

#include <functional>
#include <string_view>

namespace quorvane {

class ReloadPort
{
public:
    // running tells whether the DNS service is on (a reloaded zone is announced only then).
    ReloadPort(QueryHost& host, RecordStore& store, ZoneNotifications& notifications, ZoneQueue& queue,
               std::function<bool()> running)
        : m_host(host), m_store(store), m_notifications(notifications), m_queue(queue),
          m_running(std::move(running))
    {
    }

    // "RELOAD" reloads every record; "UNLOAD zone" drops a zone; "RELOAD x zone" (x any letter)
    // loads one zone again and tells its secondaries, or polls its primary. Letter case does not
    // matter, zone names come without their final dot, and any other text is ignored.
    // "UPDATE-LISTS" fetches the block lists now, through this.
    void DataArrival(const Endpoint& from, std::string_view data);
    void setUpdateLists(std::function<void()> update) { m_updateLists = std::move(update); }

private:
    void unload(const std::string& zone);
    void reloadZone(const std::string& zone);

    QueryHost& m_host;
    RecordStore& m_store;
    ZoneNotifications& m_notifications;
    ZoneQueue& m_queue;
    std::function<bool()> m_running;
    std::function<void()> m_updateLists;
};

} // namespace quorvane
