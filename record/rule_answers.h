#pragma once

#include "record/build_entry.h"

class RULE_CACHE;
struct RULE_QUESTION;

/// What the rules say now, as the record keeps it. Any thread while nobody edits rules.
RECORDED_ANSWER answer_now(const RULE_CACHE& rules, const RULE_QUESTION& question);

/// The same for a question that was answered before.
RECORDED_ANSWER answer_now(const RULE_CACHE& rules, const RECORDED_ANSWER& former);

/// The first difference between two answers to one question, as people read it:
/// `texture, compression: "bc1" is "bc7" now, <file>`, with the rule file that says so
/// where there is one. Empty when there is none. GUI thread.
QString difference_text(const RULE_CACHE& rules, const RECORDED_ANSWER& former);
