// The players of the process, by id.
#pragma once

#include <memory>
#include <vector>

#include "engine/player/Player.h"

namespace engine {

/// Makes a player and returns its id, above 0. Ids are not used twice before 2^31 of them.
int AddPlayer(const RvPlayerCreation& record);

/// Null: no such player.
std::shared_ptr<Player> FindPlayer(int id);

/// Takes the player out; the caller shuts it down. Null: no such player.
std::shared_ptr<Player> RemovePlayer(int id);

/// Takes all players out.
std::vector<std::shared_ptr<Player>> RemoveAllPlayers();

/// The next id of a view; no two views of the process share one.
int NextViewId();

}  // namespace engine
