#include "engine/player/Registry.h"

#include <atomic>
#include <limits>
#include <map>
#include <mutex>

namespace engine {

namespace {

struct Registry
{
    std::mutex lock;
    std::map<int, std::shared_ptr<Player>> players;
    int lastId = 0;
};

/// Never destroyed: a client may end the process while its players play.
Registry& TheRegistry()
{
    static Registry& registry = *new Registry;
    return registry;
}

int NextId(int last)
{
    return last == std::numeric_limits<int>::max() ? 1 : last + 1;
}

}  // namespace

int AddPlayer(const RvPlayerCreation& record)
{
    Registry& registry = TheRegistry();
    int id = 0;
    {
        std::lock_guard lock(registry.lock);
        do {
            registry.lastId = NextId(registry.lastId);
        } while (registry.players.count(registry.lastId) > 0);
        id = registry.lastId;
        registry.players.emplace(id, nullptr);  // the id is taken
    }
    // Outside the lock: opening the window may wait for the display.
    std::shared_ptr<Player> player;
    try {
        player = Player::Create(id, NextViewId(), record);
    } catch (...) {
        std::lock_guard lock(registry.lock);
        registry.players.erase(id);
        throw;
    }
    std::lock_guard lock(registry.lock);
    registry.players[id] = std::move(player);
    return id;
}

std::shared_ptr<Player> FindPlayer(int id)
{
    Registry& registry = TheRegistry();
    std::lock_guard lock(registry.lock);
    const auto found = registry.players.find(id);
    return found == registry.players.end() ? nullptr : found->second;
}

std::shared_ptr<Player> RemovePlayer(int id)
{
    Registry& registry = TheRegistry();
    std::lock_guard lock(registry.lock);
    const auto found = registry.players.find(id);
    if (found == registry.players.end() || !found->second)
        return nullptr;
    std::shared_ptr<Player> player = std::move(found->second);
    registry.players.erase(found);
    return player;
}

std::vector<std::shared_ptr<Player>> RemoveAllPlayers()
{
    Registry& registry = TheRegistry();
    std::vector<std::shared_ptr<Player>> players;
    std::lock_guard lock(registry.lock);
    players.reserve(registry.players.size());  // all or none
    for (auto entry = registry.players.begin(); entry != registry.players.end();) {
        if (entry->second) {
            players.push_back(std::move(entry->second));
            entry = registry.players.erase(entry);
        } else {
            ++entry;  // is being made
        }
    }
    return players;
}

int NextViewId()
{
    static std::atomic<int> last{0};
    int before = last;
    while (!last.compare_exchange_weak(before, NextId(before))) {
    }
    return NextId(before);
}

}  // namespace engine
