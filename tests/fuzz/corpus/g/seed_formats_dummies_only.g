# Three dummy transitions in a row and no signal: a plain Petri net that stops in q3.
.dummy t1 t2 t3
.graph
q0 t1
t1 q1
q1 t2
t2 q2
q2 t3
t3 q3
.marking {q0}
.end
