# a+ marks p1 and p2; b+ then puts a second token on p2.
.outputs a b
.graph
p0 a+
a+ p1 p2
p1 b+
b+ p2
p2 a-
a- p0
.marking { p0 }
.end
