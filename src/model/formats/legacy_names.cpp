// The name rule by which legacy files carry the signals of an STG.
#include "model/formats/legacy_names.h"

#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "model/formats/format_common.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

uint8_t kindOfPrefix(char c) {
  switch (c) {
    case 'O': return SignalOutput;
    case 'I': return SignalInternal;
    case 'i': return SignalInput;
    default: return SignalDummy;
  }
}

// Signal and sign of one stripped name; false after a reported error.
bool assignSignal(Stg& stg, Transition* t, uint8_t kind, std::unordered_map<std::string, Signal*>& signals) {
  const std::string& name = t->name;
  size_t at = name.find_first_of("+-~/");
  if (at == 0) {
    reportError("transition has empty signal name: " + name);
    return false;
  }
  if (at != std::string::npos && (name[at] == '+' || name[at] == '-')) {
    if (kind == SignalDummy) reportWarning(dummyTransitionHasSign(name));
    else t->sign = name[at] == '+' ? SignPlus : SignMinus;
  }
  std::string signalName = name.substr(0, at);
  auto found = signals.find(signalName);
  Signal* s;
  if (found != signals.end()) {
    s = found->second;
    if (s->kind != kind) {
      reportError("signal " + signalName + " is declared with multiple type modifiers");
      return false;
    }
  } else {
    s = stg.signals.add(new Signal);
    s->name = signalName;
    s->kind = kind;
    signals.emplace(signalName, s);
  }
  t->signal = s;
  return true;
}

}  // namespace

bool hasKindPrefix(const std::string& name) {
  return name.size() >= 2 && name[1] == '.' && std::strchr("OIid", name[0]) && name[0] != '\0';
}

std::string withoutKindPrefix(const std::string& name) { return hasKindPrefix(name) ? name.substr(2) : name; }

const char* kindPrefixOf(uint8_t kind) {
  switch (kind) {
    case SignalInput: return "i.";
    case SignalOutput: return "O.";
    case SignalInternal: return "I.";
    default: return "d.";
  }
}

bool assignSignalsFromNames(Stg& stg) {
  std::unordered_set<std::string> stripped;
  std::unordered_map<std::string, Signal*> signals;
  for (Transition* t : stg.transitions) {
    uint8_t kind = SignalDummy;
    if (hasKindPrefix(t->name)) {
      kind = kindOfPrefix(t->name[0]);
      t->name.erase(0, 2);
    }
    if (!stripped.insert(t->name).second) {
      reportError("removing prefix from a transition name causes a collision: " + t->name);
      return false;
    }
    if (!assignSignal(stg, t, kind, signals)) return false;
  }
  sortSignals(stg);
  sortNodes(stg);
  sortArcs(stg);
  return true;
}

void addKindPrefixes(Stg& stg) {
  for (Transition* t : stg.transitions) t->name = kindPrefixOf(t->signal ? t->signal->kind : uint8_t(SignalDummy)) + t->name;
}

void removeKindPrefixes(Stg& stg) {
  for (Transition* t : stg.transitions) t->name.erase(0, 2);
}

}  // namespace nurex
