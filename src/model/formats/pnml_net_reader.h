// Readers of the original net inside a PNML document: a low-level net or an STG.
#pragma once

#include "model/formats/xml_document.h"
#include "model/net.h"

namespace nurex {

// Read the `net` element (type "low_level_net" / "STG") into `net`, registering the XML ids
// of its nodes; the nodes are then sorted by name. False after a reported error.
bool readLowLevelNet(XmlElement element, PetriNet& net, XmlIdMap& ids);
bool readStg(XmlElement element, Stg& stg, XmlIdMap& ids);

}  // namespace nurex
