# bench/stg_family.sh fork 3: three handshakes between the edges of x; one signal per handshake
.model fork_3
.inputs a1 a2 a3
.outputs x r1 r2 r3
.graph
x+ r1+
r1+ a1+
a1+ r1-
r1- a1-
a1- x-
x+ r2+
r2+ a2+
a2+ r2-
r2- a2-
a2- x-
x+ r3+
r3+ a3+
a3+ r3-
r3- a3-
a3- x-
x- p0
p0 x+
.marking { p0 }
.end
