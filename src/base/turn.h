// Requests that act take turns: each holds a lock until it ends. Its file tells the others who has
// the turn and what runs. Views take none: they read files that are only ever replaced as a whole.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Who asks for a change, as far as the web server and the form tell.
struct Request {
    std::string page;  // the page that the form belongs to
    std::string todo;
    std::string user;     // empty: nobody had to say
    std::string address;  // of the browser
};

enum class Turn { taken, not_in_time, cannot_lock };

// Waits for the turn, at most so many seconds. Where it is taken the lock's file tells of the
// request until the process ends; programs that it starts do not inherit the lock.
// Files: "/run/quillstead-admin/lock", root's alone (0600 in a folder 0700), made when missing.
Turn take_turn(const Request& request, int seconds);

// Gives the turn to the next one: what follows reads what this request has open already, and
// changes nothing.
void end_turn();

// What the request that has the turn is at: the name of a program that it waits for, or nothing.
// Without the turn nothing happens.
void tell_progress(std::string_view command);

struct Progress {
    Request request = {};
    long seconds = 0;          // since it took its turn
    std::string command = {};  // that it waits for; empty: none
    long command_seconds = 0;
};

// The request that has the turn; nothing when there is none or this is it.
std::optional<Progress> progress();
