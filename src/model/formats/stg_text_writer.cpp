// The .g text form of an STG, and the choice of writer by file name for nets and prefixes.
#include <fstream>

#include "model/formats/format_common.h"
#include "model/formats/legacy_names.h"
#include "model/formats/writers.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

// A place with one producer and one consumer is written as an arc between them.
bool isImplicit(const Place* p) { return p->preset.size() == 1 && p->postset.size() == 1; }

void writeSignalLists(const Stg& stg, std::ostream& out) {
  static const char* const keywords[] = {".inputs", ".outputs", ".internal", ".dummy"};
  for (uint8_t kind = SignalInput; kind <= SignalDummy; ++kind) {
    bool any = false;
    for (const Signal* s : stg.signals) {
      if (s->kind != kind) continue;
      if (!any) out << '\n' << keywords[kind];
      any = true;
      out << ' ' << s->name;
    }
  }
}

void writeGraph(const Stg& stg, std::ostream& out) {
  out << "\n\n.graph";
  for (const Place* p : stg.places) {
    if (isImplicit(p) || p->postset.empty()) continue;
    out << '\n' << p->name;
    for (const Transition* t : p->postset) out << ' ' << withoutKindPrefix(t->name);
  }
  for (const Transition* t : stg.transitions) {
    if (t->postset.empty()) continue;
    out << '\n' << withoutKindPrefix(t->name);
    for (const Place* p : t->postset)
      out << ' ' << (isImplicit(p) ? withoutKindPrefix(p->postset[0]->name) : p->name);
  }
  // A node without arcs is a line of its own, or it would not come back when read.
  for (const Place* p : stg.places)
    if (p->preset.empty() && p->postset.empty()) out << '\n' << p->name;
  for (const Transition* t : stg.transitions)
    if (t->preset.empty() && t->postset.empty()) out << '\n' << withoutKindPrefix(t->name);
}

void writeMarking(const Stg& stg, std::ostream& out) {
  out << "\n\n.marking {";
  for (const Place* p : stg.places) {
    if (p->tokens == 0) continue;
    out << ' ';
    if (isImplicit(p))
      out << '<' << withoutKindPrefix(p->preset[0]->name) << ',' << withoutKindPrefix(p->postset[0]->name) << '>';
    else out << p->name;
    if (p->tokens > 1) out << '=' << p->tokens;
  }
  out << " }";
}

bool isPnmlName(const std::string& fileName) { return endsWith(fileName, ".pnml") || endsWith(fileName, ".pnml.gz"); }

}  // namespace

bool writeStgText(const Stg& stg, std::ostream& stream) {
  writeSignalLists(stg, stream);
  writeGraph(stg, stream);
  writeMarking(stg, stream);
  stream << "\n.end\n";
  stream.flush();
  return static_cast<bool>(stream);
}

bool saveStg(const Stg& stg, const std::string& fileName) {
  if (endsWith(fileName, "g")) {
    std::ofstream out(fileName, std::ios::binary);
    if (!out) {
      reportError(cannotOpenForOutput(fileName));
      return false;
    }
    if (writeStgText(stg, out)) return true;
    reportError(cannotWriteFile());
    return false;
  }
  if (!isPnmlName(fileName)) reportWarning(unknownFileExtension(fileName));
  return writeNetPnml(stg, fileName);
}

template <class Net>
bool savePrefix(Prefix<Net>& prefix, const std::string& fileName) {
  if (endsWith(fileName, "mci")) {
    std::ofstream out(fileName, std::ios::binary);
    if (!out) {
      reportError(cannotOpenForOutput(fileName));
      return false;
    }
    if constexpr (!Net::isStg) return writePrefixMci(prefix, out);
    else {
      addKindPrefixes(prefix);
      bool written = writePrefixMci(prefix, out);
      removeKindPrefixes(prefix);
      sortNodes(prefix);
      sortArcs(prefix);
      return written;
    }
  }
  if (!isPnmlName(fileName)) reportWarning(unknownFileExtension(fileName));
  return writeUnitPnml(prefix, fileName);
}

template bool savePrefix<PetriNet>(PetriNetPrefix&, const std::string&);
template bool savePrefix<Stg>(StgPrefix&, const std::string&);

}  // namespace nurex
