# A choice between s0+ s1+ s0- s1- and s1+ s1-. Every trigger agrees with its event, so
# s1 is assumed p-normal, but its next state falls while the code rises: from the initial
# state (code 00, s1+ excited) to the state after s1+/4 or after s0+ s1+ s0- (code 01, s1-
# excited).
.model other_violation
.outputs s0 s1
.graph
p0 s0+/0 s1+/4
s0+/0 s1+/1
s1+/1 s0-/2
s0-/2 s1-/3
s1-/3 p0
s1+/4 s1-/5
s1-/5 p0
.marking {p0}
.end
