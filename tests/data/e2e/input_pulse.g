# s0+ starts an output pulse on s1 and an input pulse on s2; s0- waits for both. The states
# after s0+ s1+ s1- and after s0+ s1+ s1- s2+ s2- have equal codes, and only the input's
# pulse tells them apart: a new signal would have to wait for s2- or delay it.
.model input_pulse
.inputs s2
.outputs s1
.internal s0
.graph
s0+ s1+ s2+
s0- s0+
s1+ s1-
s1- s0-
s2+ s2-
s2- s0-
.marking { <s0-,s0+> }
.end
