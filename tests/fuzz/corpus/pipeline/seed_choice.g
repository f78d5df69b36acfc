# p0 -a-> p1 -c-> p0, or p0 -b-> p2 (dead); q is marked until a fires
.model choice
.dummy a b c
.graph
p0 a b
q a
a p1
b p2
p1 c
c p0
.marking {p0 q}
.end
