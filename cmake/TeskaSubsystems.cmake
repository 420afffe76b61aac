# The map of the library: every module once, under its subsystem. It feeds the build, the IDE groups, the test labels,
# the check of the index in Private/Source/README.md and, through <build tree>/map.txt, the checks of ./dev check.

# Sources that are a module's own, beside Private/Source/<module>.cpp: Private/Source/<module>/<part>.cpp.
teska_parts(bezierd_base roots)
teska_parts(clg building images points surface tiling)
teska_parts(fdstream fdifstream fdofstream)
teska_parts(file_double vd)
teska_parts(filepacker unpack)
teska_parts(fusm tables)
teska_parts(ibilin plan)
teska_parts(izat izoom plan)
teska_parts(md_tetrab positions)
teska_parts(numb byteorder)
teska_parts(
  p_bezierd_base
  arc
  fit
  line
  nearest
  outline
  polyline
  spline)
teska_parts(proj nearest tetra triangle)
teska_parts(rsys copy match remove transfer walk)
teska_parts(tconvexhull compass lists planes print step)
teska_parts(tetra cutting distinct_points hull tiling volume)
teska_parts(tlist telement)
teska_parts(tobjfac tobjel tobjlist)
teska_parts(tquadtree cells tree)
teska_parts(
  ttriangulartopsurface
  colorants
  convert
  darkening
  edge
  export
  gnomonic
  mask
  preparing
  rim
  rings
  tprimcomb
  tprimcomb_compare
  tprimcomb_seen
  widen)

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
  teska_version
  tlist
  tobjfac)
teska_subsystem(text "Text and numbers" file_double numb str_utils str_zuk)
teska_subsystem(
  files
  "Files, streams and devices"
  archive
  base64
  cipher
  fdstream
  filepacker
  flock
  fport
  md5_digest
  rs232
  rsys
  wemfile)
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
  vect
  vect_lobe)
teska_subsystem(
  curves
  "Curves and one-dimensional tables"
  bezier_cpoly_det
  bezierd_base
  bezierd_fit
  bezierd_split
  bezierd_vector
  func
  grad_tab
  hist
  interp_double
  p_bezierd_base)
teska_subsystem(
  colour
  "Colour lookup tables and multidimensional interpolation"
  clut
  clut_table
  convert_rows
  md_tetrab
  md_tetrad
  md_tetras
  mmd_tetras
  tfastpow)
teska_subsystem(
  image
  "Image processing, line by line"
  fir
  flood
  fusm
  ibilin
  izat
  whole_image)
teska_subsystem(
  geometry
  "Geometry and gamut"
  clg
  convex_hull
  proj
  tconvexhull
  tetra
  top_surface
  tplane
  tquadtree
  ttriangulartopsurface
  volume_export)
teska_write_map()
