# Two outputs in a ring, no inputs: x+ y+ x- y-. The codes xy run 00 10 11 01, so the next
# value of x is !y and that of y is x.
.model ring
.outputs x y
.graph
x+ y+
y+ x-
x- y-
y- x+
.marking {<y-,x+>}
.end
