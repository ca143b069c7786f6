// The words of generated messages: a thread's subject and each message's paragraphs, drawn
// from seeds of their own so that any message can be written again alone (a reply quotes the
// message before it).
#pragma once

#include <string>
#include <vector>

#include "people.h"
#include "schedule.h"

namespace orvella::host::generator {

// What a thread planned so far (kind, people, subject style) will talk about.
ThreadWords DrawThreadWords(const Cast& cast, const Schedule& schedule, const ThreadPlan& thread,
                            Random& random);

// The thread's subject without any reply prefix, UTF-8; empty for a blank subject.
std::string ThreadSubject(const Cast& cast, const Schedule& schedule, const ThreadPlan& thread);

// The paragraphs of a message, greeting first and signature last; a paragraph may hold line
// breaks (a signature does) but is otherwise one line for the writer to wrap.
std::vector<std::string> BodyParagraphs(const Cast& cast, const Schedule& schedule,
                                        const MessagePlan& message);

}  // namespace orvella::host::generator
