library(testthat)
library(lumo)

test_check("lumo")
