€ï»¿[header]
9	=file version number
Sand	=materialname
kN	=unit of force
m	=unit of length
day	=unit of time
K	=unit of temperature
9.81	=water weight


[extraparameters]
0	=water thermal expansion
0	=ice thermal expansion
1000	=mass unit conversion
0	=useUWC
[testparameters]
0	=triaxial
0	=behavior
0	=unsaturated
0	=thermal
0.01	=error1
1	=relax
50	=maxiter
0	=arclength off
0	=isotropic preconsolidation stress
-1	=mob. rel. shear strength
0	=inner radius
0	=test control type
-100	-100	-100	0	0	0	=initial stresses
0	=initial suction
0	=initial temperature
1	=number of phases
100	=number of steps in phase 1
0	=phase duration for phase 1
0	-0.1	0	0	0	0	=strain increments for phase 1
0	0	0	0	0	0	=stress increments for phase 1
1	0	1	1	0	0	=boundary conditions
0	=suction increment for phase 1
0	=temperature increment for phase 1

