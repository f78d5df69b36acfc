# Muller C-element: c rises after both inputs have risen and falls after both have fallen.
# All eight codes of a b c are reachable; the next value of c is the majority of a, b, c.
.model c_element
.inputs a b
.outputs c
.graph
a+ c+
b+ c+
c+ a- b-
a- c-
b- c-
c- a+ b+
.marking {<c-,a+> <c-,b+>}
.end
