// Test oracle of the reachability modes: explicit states of small nets and random REACH
// predicates that carry their own meaning.
#include "unit/verify/reach_oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace nurex::test {

bool NetView::isDummy(const Transition* t) const { return stg && test::isDummy(t); }

void computeEnabledness(const NetView& view, ExplicitState& state) {
  const auto& transitions = view.net->transitions;
  const TokenVector& marking = state.marking;
  state.enabled.assign(transitions.size(), false);
  for (const Transition* t : transitions) state.enabled[t->index] = view.occurs[t->index] && isEnabled(t, marking);
  state.viaDummies = enabledThroughDummies(*view.net, view.stg != nullptr, marking, &view.occurs);
}

bool exploreStates(const NetView& view, std::vector<ExplicitState>& states, uint32_t limit) {
  ExploreOptions options{.stateLimit = limit, .stg = view.stg, .fires = &view.occurs, .stopWhenUnsafe = true};
  StateSpace space = exploreStateSpace(*view.net, options);
  if (!space.complete || !space.safe) return false;
  states.assign(space.size(), {});
  for (uint32_t i = 0; i < space.size(); ++i) {
    states[i].marking = space.markings[i];
    if (view.stg) states[i].code = space.codes[i];
    states[i].visible |= i == 0;
    for (auto [t, j] : space.successors[i]) states[j].visible |= !view.isDummy(t);
  }
  for (ExplicitState& s : states) computeEnabledness(view, s);
  return true;
}

bool consistentCodes(const NetView& view, const std::vector<ExplicitState>& states) {
  std::map<TokenVector, std::vector<uint8_t>> codeOf;
  for (const ExplicitState& s : states) {
    if (!codeOf.emplace(s.marking, s.code).first->second.empty() && codeOf[s.marking] != s.code) return false;
    for (const Transition* t : view.net->transitions) {
      if (!s.enabled[t->index] || !view.stg || view.isDummy(t) || t->sign == SignNone) continue;
      if (s.code[t->signal->index] != (t->sign == SignPlus ? 0 : 1)) return false;
    }
  }
  return true;
}

bool replayRun(const NetView& view, const std::vector<const Transition*>& run, ExplicitState& state) {
  TokenVector& marking = state.marking = initialMarking(*view.net);
  state.code = view.stg ? initialCode(*view.stg) : std::vector<uint8_t>{};
  state.visible = true;
  for (const Transition* step : run) {
    const Transition* t = view.net->transitions[step->index];
    if (!view.occurs[t->index] || !isEnabled(t, marking)) return false;
    fire(t, marking, view.stg ? &state.code : nullptr);
    if (std::any_of(marking.begin(), marking.end(), [](uint32_t k) { return k > 1; })) return false;
    state.visible = !view.isDummy(t);
  }
  computeEnabledness(view, state);
  return true;
}

std::vector<const Transition*> transitionsOf(const Trace& trace) {
  std::vector<const Transition*> run;
  for (const TraceStep& step : trace) run.push_back(step.transition);
  return run;
}

bool holdsSomewhere(const std::vector<ExplicitState>& states, const RandomPredicate& p, bool stgStates,
                    bool twoLevels) {
  OracleEnv env{{nullptr, nullptr}, stgStates, {}};
  for (size_t a = 0; a < states.size(); ++a)
    for (size_t b = twoLevels ? 0 : a; b < (twoLevels ? states.size() : a + 1); ++b) {
      if (stgStates && !states[a].visible) continue;
      env.level[0] = &states[a], env.level[1] = &states[b];
      if (p.holds(env)) return true;
    }
  return false;
}

void expectWitness(const NetView& view, const std::vector<std::vector<const Transition*>>& runs,
                   const RandomPredicate& p, bool stgStates, bool twoLevels) {
  ASSERT_GE(runs.size(), 1u);
  ASSERT_LE(runs.size(), twoLevels ? 2u : 1u);
  ExplicitState finals[2];
  for (size_t t = 0; t < runs.size(); ++t) ASSERT_TRUE(replayRun(view, runs[t], finals[t])) << "the witness does not replay";
  if (runs.size() == 1) finals[1] = finals[0];
  if (stgStates) {
    EXPECT_TRUE(finals[0].visible) << "the witness ends in a dummy";
  }
  OracleEnv env{{&finals[0], &finals[1]}, stgStates, {}};
  EXPECT_TRUE(p.holds(env)) << "the witness does not satisfy the predicate";
}

std::string quotedName(const std::string& name) {
  std::string out = "\"";
  for (char c : name) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

namespace {

bool enabledAt(const OracleEnv& env, int level, uint32_t t) {
  const ExplicitState& s = *env.level[level];
  return env.viaDummies ? s.viaDummies[t] : s.enabled[t];
}

bool signalEnabled(const NetView& view, const OracleEnv& env, int level, uint32_t signal) {
  for (const Transition* t : view.net->transitions)
    if (t->signal && t->signal->index == signal && enabledAt(env, level, t->index)) return true;
  return false;
}

std::vector<uint32_t> nonDummySignals(const NetView& view) {
  std::vector<uint32_t> out;
  if (view.stg)
    for (const Signal* s : view.stg->signals)
      if (s->kind != SignalDummy) out.push_back(s->index);
  return out;
}

}  // namespace

RandomPredicate PredicateGenerator::make(const PredicateOptions& options) {
  twoLevels_ = options.twoLevels;
  scope_.clear();
  variables_ = 0;
  // Over all reachable states most predicates hold somewhere; a conjunction at the top
  // keeps both answers common.
  if (pick(2)) return node(options.depth);
  RandomPredicate a = node(options.depth), b = node(options.depth - 1);
  return {"(" + a.text + ") & (" + b.text + ")", [a, b](OracleEnv& env) { return a.holds(env) && b.holds(env); }};
}

// One atom of the given kind at a random level: the state of a place, the enabledness of
// a transition, or the state, enabledness or next state of a signal.
RandomPredicate PredicateGenerator::atomOf(int kind, std::string text, std::function<uint32_t(OracleEnv&)> index) {
  int l = level();
  const NetView& view = view_;
  if (kind == 0)
    return {std::string(l + 1, '$') + " " + text, [l, index](OracleEnv& env) { return env.level[l]->marking[index(env)] != 0; }};
  if (kind == 1)
    return {std::string(l + 1, '@') + " " + text, [l, index](OracleEnv& env) { return enabledAt(env, l, index(env)); }};
  switch (pick(3)) {
    case 0:
      return {std::string(l + 1, '$') + " " + text, [l, index](OracleEnv& env) { return env.level[l]->code[index(env)] != 0; }};
    case 1:
      return {std::string(l + 1, '@') + " " + text,
              [l, index, &view](OracleEnv& env) { return signalEnabled(view, env, l, index(env)); }};
    default:
      return {"(" + text + ")" + std::string(l + 1, '\''), [l, index, &view](OracleEnv& env) {
                uint32_t s = index(env);
                return (env.level[l]->code[s] != 0) != signalEnabled(view, env, l, s);
              }};
  }
}

RandomPredicate PredicateGenerator::atom() {
  if (pick(20) == 0) {
    bool value = pick(2);
    return {value ? "true" : "false", [value](OracleEnv&) { return value; }};
  }
  if (!scope_.empty() && pick(2)) {
    size_t position = pick(static_cast<uint32_t>(scope_.size()));
    const Variable& v = scope_[position];
    return atomOf(v.kind, v.name, [position](OracleEnv& env) { return env.bound[position]; });
  }
  std::vector<uint32_t> signals = nonDummySignals(view_);
  int kinds = signals.empty() ? 2 : 3;
  int kind = static_cast<int>(pick(kinds));
  if (kind == 0) {
    const Place* p = view_.net->places[pick(view_.net->places.size())];
    uint32_t i = p->index;
    return atomOf(0, "P " + quotedName(p->name), [i](OracleEnv&) { return i; });
  }
  if (kind == 1) {
    const Transition* t = view_.net->transitions[pick(view_.net->transitions.size())];
    uint32_t i = t->index;
    return atomOf(1, "T " + quotedName(t->name), [i](OracleEnv&) { return i; });
  }
  uint32_t s = signals[pick(static_cast<uint32_t>(signals.size()))];
  return atomOf(2, "S " + quotedName(view_.stg->signals[s]->name), [s](OracleEnv&) { return s; });
}

RandomPredicate PredicateGenerator::list(const char* op, int depth) {
  uint32_t n = 2 + pick(2);
  std::vector<RandomPredicate> parts;
  std::string text;
  for (uint32_t i = 0; i < n; ++i) {
    parts.push_back(node(depth - 1));
    text += (i ? std::string(" ") + op + " " : "") + "(" + parts.back().text + ")";
  }
  char kind = op[0];
  return {text, [parts, kind](OracleEnv& env) {
            int count = 0;
            for (const RandomPredicate& p : parts) {
              bool v = p.holds(env);
              if (kind == '&' && !v) return false;
              if (kind == '|' && v) return true;
              count += v;
            }
            return kind == '^' ? count % 2 == 1 : kind == '&';
          }};
}

// forall, exists, xorsum or threshold over places, transitions or signals, with no filter,
// a static one or a state-dependent one; dummy signals are filtered out first.
RandomPredicate PredicateGenerator::quantifier(int depth) {
  int kind = static_cast<int>(pick(nonDummySignals(view_).empty() ? 2 : 3));
  std::string name = "v" + std::to_string(variables_++);
  std::vector<uint32_t> domain;
  std::string domainText;
  std::vector<bool> initial;
  if (kind == 0) {
    domainText = "PLACES";
    for (const Place* p : view_.net->places) domain.push_back(p->index), initial.push_back(p->tokens > 0);
  } else if (kind == 1) {
    domainText = "TRANSITIONS";
    for (const Transition* t : view_.net->transitions) {
      bool init = true;
      for (const Place* p : t->preset) init &= p->tokens > 0;
      domain.push_back(t->index), initial.push_back(init);
    }
  } else {
    domainText = "SIGNALS";
    for (const Signal* s : view_.stg->signals) domain.push_back(s->index), initial.push_back(s->initialValue == 1);
  }
  int filterKind = static_cast<int>(pick(3));  // none, is_init, the variable's own atom at level 0
  std::string filter = kind == 2 ? "~is_dummy " + name : "";
  auto join = [&](const std::string& more) { filter += (filter.empty() ? "" : " & ") + more; };
  if (filterKind == 1) join("is_init " + name);
  if (filterKind == 2) join(std::string(kind == 1 ? "@ " : "$ ") + name);
  scope_.push_back({name, kind});
  RandomPredicate body = node(depth - 1);
  scope_.pop_back();
  int quantifierKind = static_cast<int>(pick(4));
  int k = static_cast<int>(pick(4));
  const char* keywords[] = {"forall", "exists", "xorsum", "threshold"};
  std::string text = std::string(keywords[quantifierKind]) + (quantifierKind == 3 ? "[" + std::to_string(k) + "]" : "") +
                     " " + name + " in " + domainText + (filter.empty() ? "" : " s.t. " + filter) + " { " + body.text + " }";
  const Stg* stg = view_.stg;
  const NetView& view = view_;
  return {text, [=, &view](OracleEnv& env) {
            int count = 0, considered = 0;
            for (size_t i = 0; i < domain.size(); ++i) {
              uint32_t x = domain[i];
              if (kind == 2 && stg->signals[x]->kind == SignalDummy) continue;
              if (filterKind == 1 && !initial[i]) continue;
              if (filterKind == 2) {
                bool own = kind == 0 ? env.level[0]->marking[x] != 0
                           : kind == 1 ? enabledAt(env, 0, x)
                                       : env.level[0]->code[x] != 0;
                if (!own) continue;
              }
              ++considered;
              env.bound.push_back(x);
              count += body.holds(env);
              env.bound.pop_back();
            }
            switch (quantifierKind) {
              case 0: return count == considered;
              case 1: return count > 0;
              case 2: return count % 2 == 1;
              default: return count >= k;
            }
          }};
}

RandomPredicate PredicateGenerator::node(int depth) {
  if (depth <= 0) return atom();
  switch (pick(14)) {
    case 0: {
      RandomPredicate a = node(depth - 1);
      return {"~(" + a.text + ")", [a](OracleEnv& env) { return !a.holds(env); }};
    }
    case 1:
    case 2: return list("&", depth);
    case 3:
    case 4: return list("|", depth);
    case 5: return list("^", depth);
    case 6:
    case 7: {
      RandomPredicate a = node(depth - 1), b = node(depth - 1);
      bool impl = pick(2);
      return {"(" + a.text + ") " + (impl ? "->" : "<->") + " (" + b.text + ")", [a, b, impl](OracleEnv& env) {
                bool x = a.holds(env), y = b.holds(env);
                return impl ? !x || y : x == y;
              }};
    }
    case 8: {
      RandomPredicate c = node(depth - 1), a = node(depth - 1), b = node(depth - 1);
      return {"(" + c.text + ") ? (" + a.text + ") : (" + b.text + ")",
              [c, a, b](OracleEnv& env) { return c.holds(env) ? a.holds(env) : b.holds(env); }};
    }
    case 9: {
      uint32_t n = 2 + pick(3);
      int k = static_cast<int>(pick(n + 2));
      std::vector<RandomPredicate> parts;
      std::string text = "threshold[" + std::to_string(k) + "](";
      for (uint32_t i = 0; i < n; ++i) {
        parts.push_back(node(depth - 1));
        text += (i ? ", " : "") + parts.back().text;
      }
      return {text + ")", [parts, k](OracleEnv& env) {
                int count = 0;
                for (const RandomPredicate& p : parts) count += p.holds(env);
                return count >= k;
              }};
    }
    case 10: {
      // A condition that only the net decides.
      uint32_t n = pick(view_.net->places.size() + 1);
      bool value = view_.net->places.size() > n;
      RandomPredicate a = node(depth - 1), b = node(depth - 1);
      return {"(card PLACES > " + std::to_string(n) + " ? (" + a.text + ") : (" + b.text + "))",
              [value, a, b](OracleEnv& env) { return value ? a.holds(env) : b.holds(env); }};
    }
    default:
      if (variables_ < 3) return quantifier(depth);
      return atom();
  }
}

}  // namespace nurex::test
