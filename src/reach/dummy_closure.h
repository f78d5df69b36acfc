// Dummy events of a branching process: the trigger closure of an event (its causes, looking
// through dummy events) and the constraint that no dummy event of a configuration is maximal.
#pragma once

#include <vector>

#include "model/prefix.h"
#include "sat/configuration.h"

namespace nurex {

inline bool isDummySignal(const Signal* s) { return !s || s->kind == SignalDummy; }
inline bool isDummyEvent(const Event* e) { return isDummySignal(e->transition->signal); }

// The events that e needs, walking back from e's preset through the producers that
// `lookThrough` accepts. `triggers` receives the producers met that it does not accept;
// `excluded` the consumers of the conditions on the way that are not looked through (e
// among them). Both come sorted by number, without repeats. So e is enabled after a
// configuration, possibly once some of the looked-through events have fired, exactly when
// every trigger is in it and no excluded event is.
void triggerClosure(const Event* e, bool (*lookThrough)(const Event*), std::vector<const Event*>& triggers,
                    std::vector<const Event*>& excluded);

// Some condition of e's preset is produced by a dummy event. Without one, the trigger
// closure is the preset itself, and the marked conditions say the same in fewer clauses.
bool hasDummyProducer(const Event* e);

// The literals whose AND says that e is enabled at the end of the record's configuration:
// every preset condition marked, or with `viaDummies` the closure's test (every trigger in,
// no excluded event in), so that e may be reached once dummy events of its past have fired.
void enablingLiterals(ConfigurationVariables<StgPrefix>& record, const Event* e, bool viaDummies, Polarity polarity,
                      std::vector<Literal>& out);

// For each non-cut-off dummy event d: d in the configuration implies that some non-cut-off
// consumer of d's postset is too. The final state is then one seen from outside.
void encodeNoMaximalDummies(ConfigurationVariables<StgPrefix>& record, int group);

}  // namespace nurex
