# x+ follows only a dummy from the initial state, and x- closes the cycle as a cut-off:
# no event of x has a trigger.
.model no_trigger
.outputs x
.dummy d
.graph
d x+
x+ x-
x- d
.marking {<x-,d>}
.end
