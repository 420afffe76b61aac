# The map of the library: every module once, under its subsystem. It feeds the build, the IDE groups, the test labels
# and the check of the index in Private/Source/README.md.

teska_subsystem(
  core
  "Core frame and containers"
  cache
  dynar
  error_mess
  hash_tab
  itemfifo
  list
  rom
  tcriticsect
  teska_time
  tlist:telement+tlist
  tobjfac:tobjel+tobjlist+tobjfac)
teska_subsystem(text "Text and numbers" file_double:file_double+vd numb:numb+byteorder str_utils str_zuk)
teska_subsystem(
  files
  "Files, streams and devices"
  base64
  cipher
  fdstream:streambufext+fdifstream+fdofstream
  filepacker:filepacker+filepacker_unpack
  flock
  fport
  md5_digest
  rs232)
teska_subsystem(
  numerics
  "Numerical methods"
  condirmin
  dhsm
  mat
  random
  rdither
  restriction
  scalar_solvers
  special_functions
  tran3
  vect)
teska_subsystem(
  curves
  "Curves and one-dimensional tables"
  bezier_cpoly_det
  bezierd_base:bezierd_base+bezierd_roots
  bezierd_fit
  bezierd_split
  bezierd_vector
  func
  grad_tab
  hist
  interp_double)
teska_subsystem(colour "Colour lookup tables and multidimensional interpolation" clut md_tetrab md_tetrad tfastpow)
teska_subsystem(image "Image processing, line by line" fir flood fusm:fusm+fusm_tables ibilin:ibilin+ibilin_plan)
teska_subsystem(
  geometry
  "Geometry and gamut"
  proj:proj+proj_tetra+proj_triangle
  tconvexhull:tconvexhull+tconvexhull_lists+tconvexhull_print+tconvexhull_step
  tetra:tetra+tetra_hull+tetra_tiling+tetra_volume
  tplane
  ttriangulartopsurface:ttriangulartopsurface+gnomonic+topsurface_build+topsurface_convert+topsurface_edge+topsurface_export+topsurface_mask+topsurface_rim+topsurface_widen+tprimcomb+tprimcomb_compare+tprimcomb_seen
  volume_export)
