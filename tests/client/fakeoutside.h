#pragma once

#include "test.h"

#include "outside/outside.h"

#include <vorlan/components.h>
#include <vorlan/messages.h>

namespace vorlan {

// FakeOutside notes what the client wants of the world, in order.
class FakeOutside : public Outside {
public:
    void Send(boost::shared_ptr<Message> const& message) override {
        Note(String("send ") + message->TypeName());
        std::lock_guard const lock(m_mutex);
        m_sent.push_back(message);
    }
    bool IsConnected() override { return connected; }
    void StopMessenger(bool flush, bool final, bool reconnect) override {
        Note(SFormat("messenger stop %d %d %d", flush, final, reconnect));
    }
    void PurgeMessageQueues() override { Note("purge"); }
    UID MasterID() override { return master; }
    String MasterMachineName() override { return "zeus"; }
    boost::shared_ptr<MasterInfoMsg> MasterInfo() override { return masterInfo; }
    String LastFailure() override { return failure; }
    UID MachineID() override { return UID::FromName("this machine"); }
    String ComputerName() override { return computerName; }
    void StartComponent(int component) override {
        started.insert(component);
        Note(String("start ") + Components::GetName(component));
    }
    void StopComponent(int component) override {
        started.erase(component);
        Note(String("stop ") + Components::GetName(component));
    }
    bool DidStartComponent(int component) override { return started.contains(component); }
    bool IsComponentRunning(int component) override { return started.contains(component); }

    // The steps since the last call.
    std::vector<String> TakeSteps() {
        std::lock_guard const lock(m_mutex);
        return std::exchange(m_steps, {});
    }
    std::vector<boost::shared_ptr<Message>> Sent() const {
        std::lock_guard const lock(m_mutex);
        return m_sent;
    }

    // Set before use.
    bool connected = false;
    UID master;
    boost::shared_ptr<MasterInfoMsg> masterInfo;
    String failure;
    String computerName = "artist";
    std::set<int> started;

private:
    void Note(String const& step) {
        std::lock_guard const lock(m_mutex);
        m_steps.push_back(step);
    }

    mutable std::mutex m_mutex;
    std::vector<String> m_steps;                    // guarded by m_mutex
    std::vector<boost::shared_ptr<Message>> m_sent; // guarded by m_mutex
};

} // namespace vorlan
