#include "query/query_ports.h"

namespace quorvane {

bool QueryPorts::open(bool hardened)
{
    if (hardened != m_hardened) closeAll();
    m_hardened = hardened;
    m_slots.resize(hardened ? kPoolSize : 1);
    bool any = false;
    for (Slot& slot : m_slots) any = bindSlot(slot) || any;
    return any;
}

bool QueryPorts::bindSlot(Slot& slot)
{
    if (slot.socket != kNoSocket) return true;
    slot.socket = m_network.bindUdp("", 0);
    if (slot.socket == kNoSocket) return false;
    return true;
}

void QueryPorts::send(const Endpoint& to, std::string_view message)
{
    if (m_slots.empty()) return;
    Slot& slot = m_slots.size() == 1 ? m_slots.front() : m_slots[m_random.below(static_cast<uint32_t>(m_slots.size()))];
    if (slot.socket == kNoSocket && !bindSlot(slot)) return;
    slot.lastSend = m_tick;
    m_network.sendTo(slot.socket, to, message);
}

void QueryPorts::tick()
{
    ++m_tick;
    if (!m_hardened || m_slots.empty()) return;
    Slot& slot = m_slots[m_nextReplaced];
    m_nextReplaced = (m_nextReplaced + 1) % m_slots.size();
    if (m_tick - slot.lastSend <= kQuietTicks) return;
    m_network.close(slot.socket);
    slot.socket = kNoSocket;
    bindSlot(slot);
}

void QueryPorts::closeAll()
{
    for (Slot& slot : m_slots) m_network.close(slot.socket);
    m_slots.clear();
}

} // namespace quorvane
