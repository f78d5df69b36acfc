# An STG with every declaration and both kinds of place.
.model mixed
.inputs a   # the request
.outputs b
.internal c
.dummy eps
.capacity p0=1
.initial state 000
.graph
p0 a+/1 eps
a+/1 b+
eps p1
b+ c+ p1
p1 a-
c+ a-
a- b- c-
b- p0
c- p0
.marking { p0
  <b+,c+> }
.end
anything after .end is ignored
