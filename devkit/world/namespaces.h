#pragma once

namespace ruvo::devkit {

enum class UserIds {
    kBecomeRoot,  // the caller is root inside of the namespace
    kKeep         // the caller keeps its ids
};

// Moves this process into a user namespace of its own unless it is root already,
// so that it may make the others. Throws std::system_error.
void enter_user_namespace_unless_root(UserIds ids);

// Moves this process into new mount and network namespaces; its next child is the
// first process of a new PID namespace. Throws std::system_error.
void enter_world_namespaces();

}  // namespace ruvo::devkit
